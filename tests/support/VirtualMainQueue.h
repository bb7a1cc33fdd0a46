#pragma once

#include "model/MainQueue.h"

#include <map>
#include <mutex>
#include <utility>

namespace quorvel::test {

/// A main queue whose time passes only in `advance`. Tasks may be posted by any thread and run
/// on the one that calls `advance`.
class VirtualMainQueue final : public model::MainQueue {
  public:
    void post(platform::Task task) override { postAfter({}, std::move(task)); }

    void postAfter(std::chrono::milliseconds delay, platform::Task task) override {
        const std::lock_guard lock(mutex_);
        tasks_.emplace(now_ + delay, std::move(task));
    }

    /// Runs what is due until then, in the order of time and posting.
    void advance(std::chrono::milliseconds time) {
        const auto end = now_ + time;
        while (auto task = takeDue(end))
            task();
        const std::lock_guard lock(mutex_);
        now_ = end;
    }

    void runPosted() { advance({}); }

  private:
    platform::Task takeDue(std::chrono::milliseconds end) {
        const std::lock_guard lock(mutex_);
        if (tasks_.empty() || tasks_.begin()->first > end) return {};
        auto next = tasks_.extract(tasks_.begin());
        now_ = next.key();
        return std::move(next.mapped());
    }

    std::mutex mutex_;
    std::chrono::milliseconds now_{};
    std::multimap<std::chrono::milliseconds, platform::Task> tasks_;
};

} // namespace quorvel::test
