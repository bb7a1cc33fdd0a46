#include "support/NothingLeft.h"
#include "support/TemporaryFolder.h"

#include "platform/files/SharedFolder.h"
#include "platform/network/Listener.h"

#include <future>
#include <list>
#include <mutex>

namespace quorvel::platform {

using namespace std::chrono_literals;
using testing::ElementsAre;
using ConnectionPtr = std::shared_ptr<Connection>;

/// What happened on the queue, in order, to be looked at from the test's thread.
class Events {
  public:
    void add(const std::string& event) {
        const std::lock_guard lock(mutex_);
        events_.push_back(event);
    }
    /// Once there are that many, or no more come.
    std::vector<std::string> all(std::size_t expected = 0) {
        const auto copied = [&] {
            const std::lock_guard lock(mutex_);
            return events_;
        };
        test::eventually([&] { return copied().size() >= expected; });
        return copied();
    }
    /// Handlers that add how it went.
    auto adding(const std::string& name) {
        return [this, name](std::error_code error) {
            add(name + (error ? " " + posixErrorName(error.value()) : " ok"));
        };
    }
    auto addingReceived() {
        return [this](const Received& got) {
            if (got.error) return adding("received")(got.error);
            add(got.endOfStream ? "end of stream" : std::string(got.bytes));
        };
    }

  private:
    std::mutex mutex_;
    std::vector<std::string> events_;
};

static void runOn(WorkQueue& queue, Task work) {
    std::packaged_task<void()> task(std::move(work));
    const auto done = task.get_future();
    queue.post(std::move(task));
    done.wait();
}

static std::uint16_t startedPort(Listener& listener, WorkQueue& queue) {
    std::promise<std::uint16_t> port;
    listener.onState([&](const auto& bound) { port.set_value(bound.value_or(0)); });
    listener.start(queue);
    return port.get_future().get();
}

/// A connection with its client at the other end; the connection is touched on the queue only.
class ConnectionPair {
    std::promise<ConnectionPtr> accepted_;

    std::uint16_t listen() {
        listener->onConnection([this](const ConnectionPtr& made) { accepted_.set_value(made); });
        return startedPort(*listener, *queue);
    }

  public:
    /// Afterwards no callback runs: the queue is released in a turn of its own.
    ~ConnectionPair() {
        listener->cancel();
        if (WorkQueue* const last = queue.get())
            runOn(*last, [this, held = std::move(queue)]() mutable {
                connection.reset();
                held.reset();
            });
    }
    /// Runs the work on the queue and waits for it.
    void run(Task work) const { runOn(*queue, std::move(work)); }

    std::shared_ptr<WorkQueue> queue = WorkQueue::serial("test.pair");
    const std::shared_ptr<Listener> listener = *Listener::create(0);
    const std::uint16_t port = listen();
    test::SocketClient client{port};
    ConnectionPtr connection = accepted_.get_future().get();
};

TEST(Connection, CallsBackLaterThanTheCallAndLetsGoOfItsHandlersAtTheEnd) {
    Events events;
    ConnectionPair pair;
    pair.client.send("hello");
    pair.run([&, self = pair.connection] {
        self->receive(100, events.addingReceived());
        self->send("answer", events.adding("sent"));
        events.add("asked");
    });
    EXPECT_THAT(events.all(3), ElementsAre("asked", "sent ok", "hello"));
    EXPECT_EQ(pair.client.receiveUntil("answer"), "answer");
    pair.run([&, self = pair.connection] {
        // The handler owns what owns it, as a session's does.
        self->receive(1, [self, tell = events.addingReceived()](auto& got) { tell(got); });
        self->send(std::string(20'000'000, 'x'), events.adding("waiting"));
    });
    pair.run([&] {
        pair.connection->cancel();
        pair.connection->send("too late", events.adding("too late"));
        events.add("cancelled");
    });
    EXPECT_EQ(events.all(7).size(), 7U);
    pair.run([&] { pair.connection->send("later still", events.adding("later")); });
    EXPECT_THAT(events.all(8),
                ElementsAre("asked", "sent ok", "hello", "cancelled", "waiting ECANCELED",
                            "too late ECANCELED", "received ECANCELED", "later ECANCELED"));
    const std::weak_ptr<Connection> weak = pair.connection;
    pair.run([&] { pair.connection.reset(); });
    EXPECT_TRUE(test::eventually([&] { return weak.expired(); }));
}

static std::shared_ptr<const OpenFile> fileHolding(const std::string& content) {
    const test::TemporaryFolder folder;
    folder.write("file", content);
    return *SharedFolder::open(*SharedFolder(folder.path()).find("file"));
}

TEST(Connection, SendsInTheOrderOfTheCallsWhateverTheyCarry) {
    const std::string content = test::patternedContent(300'000);
    const auto file = fileHolding(content);
    Events events;
    ConnectionPair pair;
    std::string expected;
    std::vector<std::string> reports;
    std::size_t texts = 0;
    pair.run([&, self = pair.connection] {
        for (std::size_t i = 0; i < 20; ++i) {
            const std::string text(i * i * 100, static_cast<char>('a' + i));
            const std::string piece = content.substr(i * 5000, i * 14000);
            const auto more = i % 2 == 0 ? MoreToSend::yes : MoreToSend::no;
            const auto tell = [&](auto error, auto count) {
                events.adding(std::to_string(count))(error);
            };
            self->send(text, events.adding("text"), more);
            self->sendFile(file, static_cast<std::int64_t>(i * 5000), i * 14000, tell, more);
            self->send("<");
            self->send(">");
            texts += text.size() + 2;
            expected += text + piece + "<>";
            reports.insert(reports.end(), {"text ok", std::to_string(piece.size()) + " ok"});
        }
        self->send({}, [self](std::error_code) {
            EXPECT_EQ(self->bytesWaiting(), 0U);
            self->cancel();
        });
        EXPECT_GT(self->bytesWaiting(), 0U);
        EXPECT_LE(self->bytesWaiting(), texts) << "what waits of files does not count";
    });
    EXPECT_TRUE(pair.client.receiveAll() == expected);
    EXPECT_EQ(events.all(reports.size()), reports);
}

TEST(Connection, CancelDeliversWhatWasSentWhileThePeerStillSends) {
    const std::string reply = test::patternedContent(100'000);
    for (const auto& [before, after] :
         {std::pair{0UL, 0UL}, {10UL, 0UL}, {0UL, 3'000'000UL}, {3'000'000UL, 10UL}}) {
        SCOPED_TRACE(std::to_string(before) + " bytes before, " + std::to_string(after) + " after");
        ConnectionPair pair;
        auto sending = std::async(std::launch::async, [&, count = before] {
            return pair.client.send(std::string(count, 'b'));
        });
        if (before <= 10) sending.wait();
        const auto input = after > 0 ? PeerInput::expected : PeerInput::done;
        pair.run([&, self = pair.connection] {
            self->send(reply, [self, input](std::error_code) { self->cancel(input); });
        });
        EXPECT_TRUE(sending.get());
        EXPECT_TRUE(pair.client.send(std::string(after, 'a')));
        EXPECT_TRUE(pair.client.receiveAll() == reply);
        EXPECT_FALSE(pair.client.wasReset());
    }
}

TEST(Connection, TellsAResetFromAnEndOfStreamAndClosesWhenItIsReleased) {
    for (const bool isReset : {false, true}) {
        Events events;
        ConnectionPair pair;
        pair.run([&] { pair.connection->receive(10, events.addingReceived()); });
        if (isReset) {
            const linger atOnce{1, 0};
            setsockopt(pair.client.descriptor(), SOL_SOCKET, SO_LINGER, &atOnce, sizeof atOnce);
            pair.client.close();
            EXPECT_THAT(events.all(1), ElementsAre("received ECONNRESET"));
            continue;
        }
        pair.client.finishSending();
        EXPECT_THAT(events.all(1), ElementsAre("end of stream"));
        pair.run([&] { pair.connection->send("still here"); });
        EXPECT_EQ(pair.client.receiveUntil("here"), "still here");
        pair.run([&] { pair.connection.reset(); });
        EXPECT_EQ(pair.client.receiveAll(), "");
    }
}

TEST(ReleasedQueue, ClosesItsConnectionsAndForgetsWhatItsLastTurnEnded) {
    const test::NothingLeft nothingLeft;
    enum class LastTurn { nothing, cancel, cancelInCallback, sendAfterTheEnd };
    using enum LastTurn;
    for (const auto turn : {nothing, cancel, cancelInCallback, sendAfterTheEnd}) {
        Events events;
        ConnectionPair pair;
        const std::weak_ptr<Connection> weak = pair.connection;
        pair.run([&, self = pair.connection] {
            self->receive(1, [self, tell = events.addingReceived()](auto& got) { tell(got); });
            if (turn == nothing) self->send(std::string(20'000'000, 'x'), events.adding("sent"));
            if (turn == sendAfterTheEnd) self->cancel();
        });
        pair.listener->cancel();
        WorkQueue& queue = *pair.queue;
        queue.post(
            [turn, self = std::move(pair.connection), last = std::move(pair.queue)]() mutable {
                if (turn == cancel) self->cancel(PeerInput::expected);
                if (turn == sendAfterTheEnd) self->send("text", [self](std::error_code) {});
                if (turn == cancelInCallback)
                    self->send("text", [self, held = std::move(last)](std::error_code) {
                        self->cancel(PeerInput::expected);
                    });
            });
        EXPECT_TRUE(WorkQueue::waitUntilAllEnded(5s));
        EXPECT_TRUE(weak.expired());
        EXPECT_LT(pair.client.receiveAll().size(), 20'000'000U);
        EXPECT_TRUE(turn != nothing || events.all().empty()) << "handlers are dropped uncalled";
    }
}

TEST(ReleasedQueue, DestroysTheTasksItHasNotRun) {
    const test::NothingLeft nothingLeft;
    auto queue = WorkQueue::serial("test.order");
    const auto token = std::make_shared<int>();
    queue->post([&, token] {
        queue->post([token] { FAIL() << "a task ran that waited at the release"; });
        queue.reset();
    });
    EXPECT_TRUE(WorkQueue::waitUntilAllEnded(5s));
    EXPECT_EQ(token.use_count(), 1);
}

TEST(Listener, LetsNoClientWaitForAThreadThatIsHeldAndDropsItsHandlersAtTheEnd) {
    const test::NothingLeft nothingLeft;
    const auto queue = WorkQueue::concurrent("test.held");
    const auto listener = *Listener::create(0);
    const auto token = std::make_shared<int>();
    std::promise<void> release;
    std::atomic<int> taken = 0;
    listener->onConnection([&, token, released = release.get_future().share()](const auto&) {
        // One after the other, all threads but one are held, as by a disk that does not answer.
        if (++taken < 4) released.wait();
    });
    const auto port = startedPort(*listener, *queue);
    std::list<test::SocketClient> clients;
    for (int i = 1; i <= 6; ++i) {
        clients.emplace_back(port);
        EXPECT_TRUE(test::eventually([&] { return taken == i; }));
    }
    release.set_value();
    listener->cancel();
    EXPECT_TRUE(test::eventually([&] { return token.use_count() == 1; }));
}

TEST(Listener, CancelResetsClientsThatWait) {
    const ConnectionPair pair;
    pair.run([&] {
        test::SocketClient waiting(pair.port);
        pair.listener->cancel();
        EXPECT_EQ(waiting.receiveAll(), "");
        EXPECT_TRUE(waiting.wasReset());
    });
}

} // namespace quorvel::platform
