#include "support/SocketClient.h"
#include "support/TemporaryFolder.h"

#include "platform/Listener.h"
#include "platform/SharedFolder.h"

#include <future>
#include <gmock/gmock.h>
#include <mutex>
#include <sys/socket.h>

namespace quorvel::platform {

namespace {

using namespace std::chrono_literals;
using ConnectionPtr = std::shared_ptr<Connection>;
using test::eventually;
using test::SocketClient;
using testing::ElementsAre;

/// What happened on the queue, in order, to be looked at from the test's thread.
class Events {
  public:
    void add(const std::string& event) {
        const std::lock_guard lock(mutex_);
        events_.push_back(event);
    }
    std::vector<std::string> all() const {
        const std::lock_guard lock(mutex_);
        return events_;
    }
    bool reach(std::size_t count) const {
        return eventually([&] { return all().size() >= count; });
    }

  private:
    mutable std::mutex mutex_;
    std::vector<std::string> events_;
};

std::string nameOf(std::error_code error) {
    return error ? posixErrorName(error.value()) : "ok";
}

/// A queue with a listener that hands each connection to the test's handler, on the queue.
class Host {
  public:
    explicit Host(Listener::ConnectionHandler handler, std::uint16_t port = 0)
        : queue_(WorkQueue::serial("test.host")), listener_(*Listener::create(port)) {
        std::promise<std::string> outcome;
        listener_->onState([&](Listener::State state, std::error_code error) {
            if (state == Listener::State::ready) outcome.set_value("ready");
            if (state == Listener::State::failed) outcome.set_value(nameOf(error));
        });
        listener_->onConnection(std::move(handler));
        listener_->start(*queue_);
        outcome_ = outcome.get_future().get();
    }
    /// Afterwards no callback runs.
    ~Host() {
        listener_->cancel();
        if (queue_) releaseAfter([] {});
    }

    const std::string& outcome() const { return outcome_; }
    std::uint16_t port() const { return listener_->port().value_or(0); }
    Listener& listener() { return *listener_; }
    WorkQueue& queue() { return *queue_; }
    /// Runs the work on the queue and waits for it.
    void run(Task work) { runOn(*queue_, std::move(work)); }
    /// Runs the work and releases the queue in the same turn.
    void releaseAfter(Task work) {
        WorkQueue& last = *queue_;
        runOn(last, [queue = takeQueue(), work = std::move(work)]() mutable {
            work();
            queue.reset();
        });
    }
    std::shared_ptr<WorkQueue> takeQueue() { return std::move(queue_); }

  private:
    static void runOn(WorkQueue& queue, Task work) {
        std::promise<void> promise;
        const auto done = promise.get_future();
        queue.post([work = std::move(work), promise = std::move(promise)]() mutable {
            work();
            promise.set_value();
        });
        done.wait();
    }

    std::shared_ptr<WorkQueue> queue_;
    std::shared_ptr<Listener> listener_;
    std::string outcome_;
};

/// A connection with its client at the other end; the connection is touched on the queue only.
class Pair {
  public:
    Pair() : host_([this](const ConnectionPtr& made) { accepted_.set_value(made); }) {
        client.emplace(host_.port());
        connection = accepted_.get_future().get();
    }
    ~Pair() {
        if (connection) host_.run([this] { connection.reset(); });
    }
    void run(Task work) { host_.run(std::move(work)); }
    Host& host() { return host_; }

    std::optional<SocketClient> client;
    ConnectionPtr connection;

  private:
    std::promise<ConnectionPtr> accepted_;
    Host host_;
};

Connection::SendHandler report(Events& events, const std::string& name) {
    return [&events, name](std::error_code error) { events.add(name + " " + nameOf(error)); };
}

Connection::ReceiveHandler reportReceived(Events& events) {
    return [&events](const Received& received) {
        events.add(received.error         ? nameOf(received.error)
                   : received.endOfStream ? "end of stream"
                                          : std::string(received.bytes));
    };
}

TEST(Connection, CallsBackLaterThanTheCall) {
    Events events;
    Pair pair;
    pair.client->send("hello");
    pair.run([&] {
        pair.connection->onEnd(report(events, "ended"));
        pair.connection->receive(100, reportReceived(events));
        pair.connection->send("answer", report(events, "sent"));
        events.add("asked");
    });
    EXPECT_TRUE(events.reach(3));
    pair.run([&] {
        pair.connection->cancel();
        pair.connection->send("too late", report(events, "sent"));
        pair.connection->receive(1, reportReceived(events));
        events.add("cancelled");
    });
    EXPECT_TRUE(events.reach(7));
    EXPECT_THAT(events.all(), ElementsAre("asked", "sent ok", "hello", "cancelled",
                                          "sent ECANCELED", "ECANCELED", "ended ok"));
    EXPECT_EQ(pair.client->receiveAll(), "answer");
    pair.run([&] { pair.connection->send("later still", report(events, "sent")); });
    EXPECT_TRUE(events.reach(8)) << "an ended connection still answers";
}

TEST(Connection, SendsInTheOrderOfTheCallsWhateverTheyCarry) {
    const test::TemporaryFolder folder;
    const std::string content = test::patternedContent(3'000'000);
    folder.write("big", content);
    Events events;
    Pair pair;
    const SharedFolder shared(folder.path());
    const auto file = *SharedFolder::open(*shared.find("big"));
    std::string expected;
    std::size_t texts = 0;
    std::size_t waiting = 0;
    pair.run([&] {
        for (std::size_t i = 0; i < 20; ++i) {
            const std::string text(i * i * 100, static_cast<char>('a' + i));
            const auto more = i % 2 == 0 ? MoreToSend::yes : MoreToSend::no;
            pair.connection->send(text, report(events, "text"), more);
            pair.connection->sendFile(
                file, static_cast<std::int64_t>(i * 1000), i * 14000,
                [&](std::error_code error, std::size_t) { events.add("file " + nameOf(error)); },
                more);
            texts += text.size() + 2;
            pair.connection->send("<");
            pair.connection->send(">");
            expected += text + content.substr(i * 1000, i * 14000) + "<>";
        }
        pair.connection->finish(report(events, "finish"));
        waiting = pair.connection->bytesWaiting();
    });
    EXPECT_GT(waiting, 0U);
    EXPECT_LE(waiting, texts) << "what waits of the files does not count";
    EXPECT_TRUE(pair.client->receiveAll() == expected);
    ASSERT_TRUE(events.reach(41));
    const auto all = events.all();
    for (std::size_t i = 0; i < 40; i += 2)
        EXPECT_THAT((std::vector{all[i], all[i + 1]}), ElementsAre("text ok", "file ok"));
    EXPECT_EQ(all.back(), "finish ok");
    pair.run([&] { EXPECT_EQ(pair.connection->bytesWaiting(), 0U); });
}

TEST(Connection, TellsHowMuchOfAFileItSent) {
    const test::TemporaryFolder folder;
    folder.write("short", "0123456789");
    const SharedFolder shared(folder.path());
    const auto file = *SharedFolder::open(*shared.find("short"));
    Events events;
    Pair pair;
    const auto tell = [&](std::error_code error, std::size_t count) {
        events.add(std::to_string(count) + " " + nameOf(error));
    };
    pair.run([&] {
        pair.connection->sendFile(file, 4, 3, tell);
        pair.connection->sendFile(file, 8, 100, tell, MoreToSend::yes);
        pair.connection->sendFile(file, 10, 100, tell, MoreToSend::yes);
        pair.connection->finish();
    });
    EXPECT_EQ(pair.client->receiveAll(), "45689");
    EXPECT_TRUE(events.reach(3));
    EXPECT_THAT(events.all(), ElementsAre("3 ok", "2 ok", "0 ok"));
}

TEST(Connection, CancelDeliversWhatWasSentWhileThePeerStillSends) {
    const std::string reply = test::patternedContent(100'000);
    for (const std::size_t before : {0UL, 10UL, 3'000'000UL}) {
        for (const std::size_t after : {0UL, 10UL, 3'000'000UL}) {
            SCOPED_TRACE(std::to_string(before) + " bytes before, " + std::to_string(after));
            Pair pair;
            auto sending = std::async(std::launch::async,
                                      [&] { return pair.client->send(std::string(before, 'b')); });
            if (before <= 10) sending.wait();
            std::promise<void> sent;
            pair.run([&] {
                pair.connection->send(reply, [&](std::error_code) {
                    pair.connection->cancel(before + after > 10 ? PeerInput::expected
                                                                : PeerInput::done);
                    sent.set_value();
                });
            });
            sent.get_future().get();
            EXPECT_TRUE(sending.get());
            EXPECT_TRUE(pair.client->send(std::string(after, 'a')));
            EXPECT_TRUE(pair.client->receiveAll() == reply);
            EXPECT_FALSE(pair.client->wasReset());
        }
    }
}

TEST(Connection, CancelReportsToPendingHandlersAndLetsGoOfThem) {
    Events events;
    Pair pair;
    const std::weak_ptr<Connection> weak = pair.connection;
    pair.run([&] {
        // Each handler owns what owns it, as a session's do.
        const auto self = pair.connection;
        self->onEnd([self, &events](std::error_code error) { events.add("end " + nameOf(error)); });
        self->receive(1, [self, end = reportReceived(events)](const Received& received) mutable {
            end(received);
        });
        self->send(std::string(20'000'000, 'x'),
                   [self, &events](std::error_code error) { events.add("send " + nameOf(error)); });
        pair.connection.reset();
    });
    pair.run([&] { weak.lock()->cancel(); });
    EXPECT_TRUE(events.reach(3));
    EXPECT_TRUE(eventually([&] { return weak.expired(); }));
    EXPECT_THAT(events.all(), ElementsAre("send ECANCELED", "ECANCELED", "end ok"));
}

TEST(Connection, TellsAResetFromAnEndOfStream) {
    Events events;
    {
        Pair pair;
        pair.run([&] { pair.connection->receive(10, reportReceived(events)); });
        pair.client->finishSending();
        EXPECT_TRUE(events.reach(1));
        pair.run([&] { pair.connection->send("still here", report(events, "sent")); });
        EXPECT_EQ(pair.client->receiveExactly(10), "still here");
    }
    Pair pair;
    pair.run([&] {
        pair.connection->onEnd(report(events, "ended"));
        pair.connection->receive(10, reportReceived(events));
    });
    const linger atOnce{1, 0};
    setsockopt(pair.client->descriptor(), SOL_SOCKET, SO_LINGER, &atOnce, sizeof atOnce);
    pair.client->close();
    EXPECT_TRUE(events.reach(4));
    EXPECT_THAT(events.all(),
                ElementsAre("end of stream", "sent ok", "ECONNRESET", "ended ECONNRESET"));
}

TEST(Connection, ReleasingAnIdleOneClosesIt) {
    Events events;
    Pair pair;
    pair.run([&] { pair.connection->receive(10, reportReceived(events)); });
    test::sleepFor(20ms);
    pair.client->send("x");
    EXPECT_TRUE(events.reach(1));
    pair.run([&] { pair.connection.reset(); });
    EXPECT_EQ(pair.client->receiveAll(), "");
}

TEST(Connection, KnowsTheIPv4AddressTheClientReached) {
    std::promise<std::optional<std::string>> address;
    for (const auto& [reached, expected] :
         {std::pair{"127.0.0.1", std::optional<std::string>("127.0.0.1")}, {"::1", std::nullopt}}) {
        address = {};
        Host host([&](const ConnectionPtr& made) { address.set_value(made->localIPv4Address()); });
        SocketClient client(host.port(), reached);
        EXPECT_EQ(address.get_future().get(), expected);
        EXPECT_EQ(client.receiveAll(), "") << "a connection that nobody keeps is closed";
    }
}

/// Nothing of a released queue is left behind.
class ReleasedQueue : public testing::Test {
  protected:
    ReleasedQueue() : isQuiet_(WorkQueue::waitUntilAllEnded(5s)) {}
    ~ReleasedQueue() override {
        EXPECT_TRUE(isQuiet_ && WorkQueue::waitUntilAllEnded(5s));
        EXPECT_EQ(test::openDescriptorCount(), descriptors_);
        EXPECT_TRUE(eventually([&] { return test::threadCount() <= threads_; }));
    }

  private:
    const bool isQuiet_;
    const std::size_t descriptors_ = test::openDescriptorCount();
    const std::size_t threads_ = test::threadCount();
};

TEST_F(ReleasedQueue, ClosesItsConnectionsAndDropsTheirHandlersUncalled) {
    Events events;
    std::vector<SocketClient> clients;
    const auto token = std::make_shared<int>();
    const auto count = [token, &events](const auto&...) { events.add("called"); };
    std::promise<void> allHere;
    Host host([&, here = 0](const ConnectionPtr& made) mutable {
        made->onEnd(count);
        made->receive(1, count);
        made->send(std::string(20'000'000, 'x'), count);
        if (++here == 10) allHere.set_value();
    });
    for (int i = 0; i < 10; ++i)
        clients.emplace_back(host.port());
    allHere.get_future().get();
    host.listener().cancel();
    host.takeQueue().reset();
    EXPECT_TRUE(WorkQueue::waitUntilAllEnded(5s));
    EXPECT_THAT(events.all(), ElementsAre());
    EXPECT_EQ(token.use_count(), 2);
    for (auto& client : clients)
        EXPECT_LT(client.receiveAll().size(), 20'000'000U);
}

TEST_F(ReleasedQueue, ForgetsWhatItsLastTurnEnded) {
    enum class LastTurn { cancel, cancelInCallback, sendAfterTheEnd };
    for (const auto turn :
         {LastTurn::cancel, LastTurn::cancelInCallback, LastTurn::sendAfterTheEnd}) {
        Pair pair;
        const std::weak_ptr<Connection> weak = pair.connection;
        pair.run(
            [&] { pair.connection->receive(1, [self = pair.connection](const Received&) {}); });
        if (turn == LastTurn::sendAfterTheEnd) pair.run([&] { pair.connection->cancel(); });
        pair.host().listener().cancel();
        auto queue = pair.host().takeQueue();
        queue->post([turn, self = std::move(pair.connection), last = std::move(queue)]() mutable {
            if (turn == LastTurn::cancel) {
                self->cancel(PeerInput::expected);
            } else if (turn == LastTurn::cancelInCallback) {
                self->send("text", [self, last = std::move(last)](std::error_code) {
                    self->cancel(PeerInput::expected);
                });
            } else {
                self->send("text", [self](std::error_code) {});
            }
        });
        EXPECT_TRUE(WorkQueue::waitUntilAllEnded(5s));
        EXPECT_TRUE(weak.expired());
    }
}

TEST_F(ReleasedQueue, DestroysTheTasksItHasNotRun) {
    Events events;
    auto queue = WorkQueue::serial("test.order");
    std::promise<void> running;
    std::promise<void> goOn;
    const auto token = std::make_shared<int>();
    queue->post([&] { events.add("first"); });
    queue->post([&] {
        running.set_value();
        goOn.get_future().get();
    });
    queue->post([&events, token] { events.add("never"); });
    running.get_future().get();
    queue.reset();
    goOn.set_value();
    EXPECT_TRUE(WorkQueue::waitUntilAllEnded(5s));
    EXPECT_EQ(token.use_count(), 1);
    EXPECT_THAT(events.all(), ElementsAre("first"));
}

TEST(Listener, ReportsAPortInUseAndFreesItsPortWithCancel) {
    const auto drop = [](const ConnectionPtr&) {};
    std::optional<Host> first(drop);
    EXPECT_EQ(first->outcome(), "ready");
    const auto port = first->port();
    {
        Host second(drop, port);
        EXPECT_EQ(second.outcome(), "EADDRINUSE");
        EXPECT_EQ(second.port(), 0);
    }
    const auto token = std::make_shared<int>();
    first->listener().onConnection([token](const ConnectionPtr&) {});
    first->listener().cancel();
    EXPECT_TRUE(eventually([&] { return token.use_count() == 1; })) << "handlers are dropped";
    Host third(drop, port);
    EXPECT_EQ(third.outcome(), "ready");
}

TEST(Listener, CancelResetsClientsThatWait) {
    std::promise<void> blocked;
    std::promise<void> goOn;
    Host host([](const ConnectionPtr&) { FAIL() << "a client came after the cancel"; });
    host.queue().post([&, waiting = goOn.get_future()] {
        blocked.set_value();
        waiting.wait();
    });
    blocked.get_future().get();
    SocketClient client(host.port());
    host.listener().cancel();
    EXPECT_EQ(client.receiveAll(), "");
    EXPECT_TRUE(client.wasReset());
    goOn.set_value();
}

} // namespace

} // namespace quorvel::platform
