#pragma once

#include "support/SocketClient.h"

#include "platform/network/WorkQueue.h"

#include <filesystem>
#include <gmock/gmock.h>

namespace quorvel::test {

/// Counts what this process has: "fd" for open descriptors, "task" for threads (proc(5)).
inline auto countOf(const std::string& what) {
    return std::distance(std::filesystem::directory_iterator("/proc/self/" + what), {});
}

/// Expects on destruction that the queues released meanwhile left no thread or descriptor behind.
class NothingLeft {
  public:
    NothingLeft() = default;
    NothingLeft(const NothingLeft&) = delete;
    NothingLeft& operator=(const NothingLeft&) = delete;
    ~NothingLeft() {
        EXPECT_TRUE(isQuiet_ && platform::waitUntilThreadsEnded(patience));
        EXPECT_EQ(countOf("fd"), descriptors_);
        EXPECT_TRUE(eventually([&] { return countOf("task") <= threads_; }));
    }

  private:
    const bool isQuiet_ = platform::waitUntilThreadsEnded(patience);
    const std::ptrdiff_t descriptors_ = countOf("fd");
    const std::ptrdiff_t threads_ = countOf("task");
};

} // namespace quorvel::test
