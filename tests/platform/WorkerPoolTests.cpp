#include "platform/ConnectionPair.h"
#include "platform/network/WorkerPool.h"

#include <new>
#include <semaphore>

namespace quorvel::platform {

using namespace std::chrono_literals;
using testing::Contains;
using testing::ElementsAre;

/// A pool whose work holds its thread until it is let go.
class HeldPool {
  public:
    ~HeldPool() {
        letGo(100);
        queue.reset();
        EXPECT_TRUE(waitUntilThreadsEnded(test::patience));
    }

    /// Asks for so many pieces of work; the token is part of the last.
    WorkerPool::Work ask(const WorkOrigin& origin, int count = 1,
                         const std::shared_ptr<int>& token = nullptr) {
        WorkerPool::Work last;
        asked_ += count;
        runOn(*queue, [&] {
            for (int i = 0; i < count; ++i)
                last = queue->workers()->run<int>(
                    origin,
                    [this, origin, token]() -> Result<int> {
                        begun.add(origin.client);
                        gate_.acquire();
                        return 1;
                    },
                    [this, token](Result<int> result) { ended += result.value_or(0); });
        });
        return last;
    }
    void letGo(int count) { gate_.release(count); }
    /// How many more have begun since the last call, once there are that many.
    std::size_t newlyBegun(std::size_t expected) {
        const auto before = std::exchange(counted_, begun.all(counted_ + expected).size());
        return counted_ - before;
    }
    bool allHaveEnded() {
        return test::eventually([&] { return ended == asked_; });
    }

    Events begun;
    std::atomic<int> ended = 0;
    std::shared_ptr<WorkQueue> queue = WorkQueue::create("test.pool");

  private:
    std::counting_semaphore<1000> gate_{0};
    std::size_t counted_ = 0;
    int asked_ = 0;
};

TEST(WorkerPool, KeepsThreadsForOtherDisksAndOtherClients) {
    const test::NothingLeft nothingLeft;
    HeldPool pool;
    struct Case {
        WorkOrigin origin;
        std::size_t expected;
    };
    for (const auto& [origin, expected] : {Case{{1, "a"}, 16},
                                           {{2, "a"}, 8},
                                           {{3, "a"}, 0},
                                           {{3, "b"}, 4},
                                           {{4, "b"}, 2},
                                           {{5, "c"}, 1},
                                           {{6, "d"}, 1},
                                           {{7, "e"}, 0}}) {
        pool.ask(origin, 20);
        EXPECT_EQ(pool.newlyBegun(expected), expected) << origin.disk << origin.client;
    }
    EXPECT_THAT(pool.begun.all(), testing::AllOf(Contains("a").Times(24), Contains("b").Times(6),
                                                 Contains("c").Times(1), Contains("d").Times(1)));
    pool.letGo(200);
    EXPECT_TRUE(pool.allHaveEnded());
}

TEST(WorkerPool, TakesFirstWhoHasLeastRunning) {
    HeldPool pool;
    pool.ask({1, "a"}, 20);
    pool.ask({1, "b"}, 2);
    EXPECT_EQ(pool.newlyBegun(16), 16U);
    for (int i = 0; i < 3; ++i) {
        pool.letGo(1);
        EXPECT_EQ(pool.newlyBegun(1), 1U);
    }
    auto last = pool.begun.all();
    last.erase(last.begin(), last.begin() + 16);
    EXPECT_THAT(last, ElementsAre("b", "b", "a"));
}

TEST(WorkerPool, ForgetsWhatIsCancelledAndWhatItsQueueLeavesBehind) {
    const test::NothingLeft nothingLeft;
    const auto running = std::make_shared<int>(), waiting = std::make_shared<int>();
    HeldPool pool;
    pool.ask({1, "a"}, 15);
    const auto first = pool.ask({1, "a"}, 1, running);
    const auto second = pool.ask({1, "a"}, 1, waiting);
    EXPECT_EQ(pool.newlyBegun(16), 16U);
    runOn(*pool.queue, [&] {
        pool.queue->workers()->cancel(first);
        pool.queue->workers()->cancel(second);
    });
    EXPECT_EQ(waiting.use_count(), 1) << "work that has not begun is dropped at once";
    EXPECT_EQ(running.use_count(), 2) << "of work that has begun, the callback";
    pool.ask({1, "a"}, 1, waiting);
    pool.queue.reset();
    EXPECT_TRUE(test::eventually([&] { return waiting.use_count() == 1; }));
    pool.letGo(16);
    EXPECT_TRUE(waitUntilThreadsEnded(5s));
    EXPECT_EQ(running.use_count(), 1);
    EXPECT_EQ(pool.ended, 0);
}

TEST(WorkerPool, ReleasesOnItsOwnThreadWhatComesTooLate) {
    const auto queue = WorkQueue::create("test.late");
    std::promise<bool> releasedOnLoop;
    const auto release = [&](int* held) {
        delete held;
        releasedOnLoop.set_value(WorkerPool::ofThisThread() != nullptr);
    };
    runOn(*queue, [&] {
        queue->workers()->close();
        queue->workers()->run<int>(
            {},
            [held = std::shared_ptr<int>(new int, release)]() -> Result<int> {
                ADD_FAILURE() << "work began after the end";
                return *held;
            },
            [](Result<int>) { ADD_FAILURE() << "its result was reported"; });
    });
    EXPECT_FALSE(releasedOnLoop.get_future().get());
}

TEST(WorkerPool, SaysThatMemoryHasRunOut) {
    const auto queue = WorkQueue::create("test.memory");
    std::promise<int> outcome;
    runOn(*queue, [&] {
        queue->workers()->run<int>(
            {}, []() -> Result<int> { throw std::bad_alloc(); },
            [&](Result<int> result) { outcome.set_value(result.error().value()); });
    });
    EXPECT_EQ(outcome.get_future().get(), ENOMEM);
}

} // namespace quorvel::platform
