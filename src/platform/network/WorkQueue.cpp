#include "platform/network/WorkQueue.h"

#include "platform/network/Loop.h"

#include <condition_variable>
#include <csignal>
#include <mutex>
#include <pthread.h>
#include <system_error>
#include <thread>
#include <utility>

namespace quorvel::platform {

namespace {

/// The number of queue threads in the process that have not ended.
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

// More than one, because a slow disk may hold a thread for seconds; few, because every idle thread
// wakes for a new client.
constexpr std::size_t concurrentThreads = 4;

void nameThread(const std::string& label) {
    // The kernel keeps 15 characters, and the end of the label tells queues apart.
    const auto start = label.size() > 15 ? label.size() - 15 : 0;
    pthread_setname_np(pthread_self(), label.substr(start).c_str());
}

void startThread(const std::shared_ptr<Loop>& loop, const std::string& label,
                 const ThreadSetup& setup) {
    threadCount().add();
    // Signals are handled on the main thread; a new thread inherits the mask.
    sigset_t all;
    sigset_t before;
    sigfillset(&all);
    pthread_sigmask(SIG_SETMASK, &all, &before);
    const auto restoreSignals = [&before] { pthread_sigmask(SIG_SETMASK, &before, nullptr); };
    try {
        std::thread([loop = std::shared_ptr(loop), label, setup = ThreadSetup(setup)]() mutable {
            nameThread(label);
            if (setup) std::exchange(setup, {})();
            loop->run();
            loop.reset();
            threadCount().remove();
        }).detach();
    } catch (const std::system_error&) {
        threadCount().remove();
        restoreSignals();
        throw;
    }
    restoreSignals();
}

} // namespace

std::shared_ptr<WorkQueue> WorkQueue::serial(const std::string& label, const ThreadSetup& setup) {
    return std::shared_ptr<WorkQueue>(new WorkQueue(label, 1, setup));
}

std::shared_ptr<WorkQueue> WorkQueue::concurrent(const std::string& label,
                                                 const ThreadSetup& setup) {
    return std::shared_ptr<WorkQueue>(new WorkQueue(label, concurrentThreads, setup));
}

WorkQueue::WorkQueue(const std::string& label, std::size_t threads, const ThreadSetup& setup) {
    try {
        for (std::size_t i = 0; i < threads; ++i) {
            loops_.push_back(std::make_shared<Loop>());
            startThread(loops_.back(), label, setup);
        }
    } catch (const std::system_error&) {
        endLoops();
        throw;
    }
}

WorkQueue::~WorkQueue() {
    endLoops();
}

void WorkQueue::endLoops() {
    for (const auto& loop : loops_)
        loop->end();
}

void WorkQueue::post(Task task) {
    // Kept alive here: the task may release the queue before the loop's post has returned.
    const auto loop = loops_.front();
    loop->post(std::move(task));
}

bool WorkQueue::waitUntilAllEnded(std::chrono::milliseconds timeout) {
    return threadCount().waitForNone(timeout);
}

} // namespace quorvel::platform
