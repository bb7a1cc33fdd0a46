#include "platform/ConnectionPair.h"

#include <list>

namespace quorvel::platform {

using namespace std::chrono_literals;

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
        EXPECT_TRUE(waitUntilThreadsEnded(5s));
        EXPECT_TRUE(weak.expired());
        EXPECT_LT(pair.client.receiveAll().size(), 20'000'000U);
        EXPECT_TRUE(turn != nothing || events.all().empty()) << "handlers are dropped uncalled";
    }
}

TEST(ReleasedQueue, DestroysTheTasksItHasNotRun) {
    const test::NothingLeft nothingLeft;
    auto queue = WorkQueue::create("test.order");
    const auto token = std::make_shared<int>();
    queue->post([&, token] {
        queue->post([token] { FAIL() << "a task ran that waited at the release"; });
        queue.reset();
    });
    EXPECT_TRUE(waitUntilThreadsEnded(5s));
    EXPECT_EQ(token.use_count(), 1);
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
