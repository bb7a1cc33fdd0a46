#include "QueueHost.h"

#include <atomic>
#include <list>

namespace quorvel::platform {

using namespace std::chrono_literals;
using testing::ElementsAre;

TEST(ReleasedQueue, ClosesItsConnectionsAndDropsTheirHandlersUncalled) {
    const test::NothingLeft nothingLeft;
    Events events;
    std::vector<test::SocketClient> clients;
    const auto token = std::make_shared<int>();
    const auto count = [token, &events](const auto&...) { events.add("called"); };
    std::promise<void> allHere;
    QueueHost host([&, here = 0](const ConnectionPtr& made) mutable {
        made->onEnd(count);
        made->receive(1, count);
        made->send(std::string(20'000'000, 'x'), count);
        if (++here == 10) allHere.set_value();
    });
    for (int i = 0; i < 10; ++i)
        clients.emplace_back(host.port());
    allHere.get_future().wait();
    host.listener->cancel();
    host.queue.reset();
    EXPECT_TRUE(WorkQueue::waitUntilAllEnded(5s));
    EXPECT_THAT(events.all(), ElementsAre());
    EXPECT_EQ(token.use_count(), 2);
    for (auto& client : clients)
        EXPECT_LT(client.receiveAll().size(), 20'000'000U);
}

TEST(ReleasedQueue, ForgetsWhatItsLastTurnEnded) {
    const test::NothingLeft nothingLeft;
    enum class LastTurn { cancel, cancelInCallback, sendAfterTheEnd };
    using enum LastTurn;
    for (const auto turn : {cancel, cancelInCallback, sendAfterTheEnd}) {
        ConnectionPair pair;
        const std::weak_ptr<Connection> weak = pair.connection;
        pair.run([self = pair.connection] { self->receive(1, [self](const Received&) {}); });
        if (turn == sendAfterTheEnd) pair.run([&] { pair.connection->cancel(); });
        pair.host.listener->cancel();
        WorkQueue& queue = *pair.host.queue;
        queue.post(
            [turn, self = std::move(pair.connection), last = std::move(pair.host.queue)]() mutable {
                if (turn == cancel) self->cancel(PeerInput::expected);
                if (turn == sendAfterTheEnd) self->send("text", [self](std::error_code) {});
                if (turn == cancelInCallback)
                    self->send("text", [self, held = std::move(last)](std::error_code) {
                        self->cancel(PeerInput::expected);
                    });
            });
        EXPECT_TRUE(WorkQueue::waitUntilAllEnded(5s));
        EXPECT_TRUE(weak.expired());
    }
}

TEST(ReleasedQueue, DestroysTheTasksItHasNotRun) {
    const test::NothingLeft nothingLeft;
    auto queue = WorkQueue::serial("test.order");
    std::promise<void> running;
    std::promise<void> goOn;
    const auto token = std::make_shared<int>();
    queue->post([&] {
        running.set_value();
        goOn.get_future().wait();
    });
    queue->post([token] { FAIL() << "a task ran that waited at the release"; });
    running.get_future().wait();
    queue.reset();
    goOn.set_value();
    EXPECT_TRUE(WorkQueue::waitUntilAllEnded(5s));
    EXPECT_EQ(token.use_count(), 1);
}

TEST(Listener, LetsNoClientWaitForAThreadThatIsHeld) {
    const test::NothingLeft nothingLeft;
    const auto queue = WorkQueue::concurrent("test.held");
    const auto listener = *Listener::create(0);
    std::promise<void> release;
    std::atomic<int> taken = 0;
    listener->onConnection([&, released = release.get_future().share()](const ConnectionPtr&) {
        // One after the other, all threads but one are held, as by a disk that does not answer.
        if (++taken < 4) released.wait();
    });
    listener->start(*queue);
    ASSERT_TRUE(test::eventually([&] { return listener->port().has_value(); }));
    std::list<test::SocketClient> clients;
    for (int i = 1; i <= 6; ++i) {
        clients.emplace_back(*listener->port());
        EXPECT_TRUE(test::eventually([&] { return taken == i; }));
    }
    release.set_value();
    listener->cancel();
}

TEST(Listener, CancelResetsClientsThatWaitAndDropsTheHandlers) {
    const auto token = std::make_shared<int>();
    const QueueHost host([token](const ConnectionPtr&) { FAIL() << "came after the cancel"; });
    host.run([&] {
        test::SocketClient client(host.port());
        host.listener->cancel();
        EXPECT_EQ(client.receiveAll(), "");
        EXPECT_TRUE(client.wasReset());
    });
    EXPECT_TRUE(test::eventually([&] { return token.use_count() == 1; }));
}

} // namespace quorvel::platform
