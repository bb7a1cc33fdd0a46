#include "platform/Threads.h"

#include <condition_variable>
#include <csignal>
#include <cstddef>
#include <mutex>
#include <pthread.h>
#include <signal.h>
#include <system_error>
#include <thread>
#include <utility>

namespace quorvel::platform {

namespace {

/// The number of threads that have not ended.
class ThreadCount {
  public:
    void add() {
        const std::lock_guard lock(mutex_);
        ++count_;
    }
    void remove() {
        const std::lock_guard lock(mutex_);
        --count_;
        changed_.notify_all();
    }
    bool waitForNone(std::chrono::milliseconds timeout) {
        std::unique_lock lock(mutex_);
        return changed_.wait_for(lock, timeout, [this] { return count_ == 0; });
    }

  private:
    std::mutex mutex_;
    std::condition_variable changed_;
    std::size_t count_ = 0;
};

// Never destroyed, because a thread that outlives main() still uses it.
ThreadCount& threadCount() {
    static auto* const count = new ThreadCount;
    return *count;
}

void nameThread(const std::string& label) {
    // The kernel keeps 15 characters, and the end of the label tells queues apart.
    const auto start = label.size() > 15 ? label.size() - 15 : 0;
    pthread_setname_np(pthread_self(), label.substr(start).c_str());
}

/// Blocks all signals while it exists; a thread that is made meanwhile inherits the mask.
class SignalsBlocked {
  public:
    SignalsBlocked() {
        sigset_t all;
        sigfillset(&all);
        pthread_sigmask(SIG_SETMASK, &all, &before_);
    }
    ~SignalsBlocked() { pthread_sigmask(SIG_SETMASK, &before_, nullptr); }
    SignalsBlocked(const SignalsBlocked&) = delete;
    SignalsBlocked& operator=(const SignalsBlocked&) = delete;

  private:
    sigset_t before_{};
};

} // namespace

void startThread(const std::string& label, Task body) {
    const SignalsBlocked blocked;
    threadCount().add();
    try {
        std::thread([label, body = std::move(body)]() mutable {
            nameThread(label);
            std::exchange(body, {})();
            threadCount().remove();
        }).detach();
    } catch (...) {
        threadCount().remove();
        throw;
    }
}

bool waitUntilThreadsEnded(std::chrono::milliseconds timeout) {
    return threadCount().waitForNone(timeout);
}

} // namespace quorvel::platform
