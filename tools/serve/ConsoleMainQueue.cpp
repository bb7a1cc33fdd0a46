#include "ConsoleMainQueue.h"

#include <utility>

namespace quorvel::serve {

void ConsoleMainQueue::post(platform::Task task) {
    postAfter({}, std::move(task));
}

void ConsoleMainQueue::postAfter(std::chrono::milliseconds delay, platform::Task task) {
    const std::lock_guard lock(mutex_);
    tasks_.emplace(Clock::now() + delay, std::move(task));
    changed_.notify_one();
}

void ConsoleMainQueue::run() {
    std::unique_lock lock(mutex_);
    while (!hasQuit_) {
        const auto due = tasks_.empty() ? Clock::time_point::max() : tasks_.begin()->first;
        if (due > Clock::now()) {
            changed_.wait_until(lock, due);
            continue;
        }
        auto next = tasks_.extract(tasks_.begin());
        lock.unlock();
        // Destroys the task as well before the lock is taken again: both may post.
        std::exchange(next.mapped(), {})();
        lock.lock();
    }
}

void ConsoleMainQueue::quit() {
    const std::lock_guard lock(mutex_);
    hasQuit_ = true;
    changed_.notify_one();
}

} // namespace quorvel::serve
