#pragma once

#include "support/SocketClient.h"

#include "platform/network/WorkQueue.h"

#include <filesystem>
#include <gmock/gmock.h>

namespace quorvel::test {

/// Of what this process has: "fd" for its open descriptors, "task" for its threads.
inline auto countOf(const std::string& what) {
    return std::distance(std::filesystem::directory_iterator("/proc/self/" + what), {});
}

/// At its end the queues released since its begin have left no thread and no descriptor behind.
class NothingLeft {
  public:
    NothingLeft() = default;
    NothingLeft(const NothingLeft&) = delete;
    NothingLeft& operator=(const NothingLeft&) = delete;
    ~NothingLeft() {
        EXPECT_TRUE(isQuiet_ && platform::WorkQueue::waitUntilAllEnded(std::chrono::seconds(20)));
        EXPECT_EQ(countOf("fd"), descriptors_);
        EXPECT_TRUE(eventually([&] { return countOf("task") <= threads_; }));
    }

  private:
    const bool isQuiet_ = platform::WorkQueue::waitUntilAllEnded(std::chrono::seconds(20));
    const std::ptrdiff_t descriptors_ = countOf("fd");
    const std::ptrdiff_t threads_ = countOf("task");
};

} // namespace quorvel::test
