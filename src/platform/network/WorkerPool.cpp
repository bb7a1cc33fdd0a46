#include "platform/network/WorkerPool.h"

#include "platform/network/Loop.h"

#include <algorithm>
#include <chrono>
#include <condition_variable>
#include <deque>
#include <mutex>
#include <optional>
#include <system_error>
#include <thread>

namespace quorvel::platform {

namespace {

// One client cannot hold more threads than these, however many disks it asks.
constexpr std::size_t threadsForOneClient = WorkerPool::maximumThreads * 3 / 4;

constexpr std::chrono::seconds idleTime{5};

} // namespace

/// `work` belongs to the thread that runs it, all else to the loop.
class WorkerPool::Job {
  public:
    const WorkOrigin origin;
    const std::weak_ptr<WorkerPool> pool;
    Task work;
    /// Empty when nobody waits for it.
    Task done;
    /// Where it waits; none once it has been started.
    std::optional<Jobs::iterator> place = std::nullopt;
};

/// What the threads use, which may outlive the pool.
struct WorkerPool::Shared {
    std::weak_ptr<Loop> loop;

    std::mutex mutex;
    std::condition_variable changed;
    // Guarded by the mutex.
    std::deque<JobPointer> ready;
    std::size_t idleThreads = 0;
    bool hasEnded = false;
};

WorkerPool::WorkerPool(std::string label, std::weak_ptr<Loop> loop)
    : label_(std::move(label)), shared_(std::make_shared<Shared>()) {
    shared_->loop = std::move(loop);
}

WorkerPool::~WorkerPool() {
    WorkerPool::close();
}

WorkerPool::Work WorkerPool::add(const WorkOrigin& origin, Task work, Task done) {
    if (shared_->hasEnded) return {};
    const auto job =
        std::make_shared<Job>(origin, weak_from_this(), std::move(work), std::move(done));
    Jobs& jobs = waiting_[origin];
    job->place = jobs.insert(jobs.end(), job);
    startWaiting();
    return job;
}

void WorkerPool::cancel(const Work& work) {
    const auto job = work.lock();
    if (!job) return;
    if (job->place) {
        const auto jobs = waiting_.find(job->origin);
        jobs->second.erase(*std::exchange(job->place, std::nullopt));
        if (jobs->second.empty()) waiting_.erase(jobs);
    }
    // Moved out first: what it owns may make calls on the pool when it goes.
    const Task done = std::exchange(job->done, nullptr);
}

void WorkerPool::close() {
    {
        const std::lock_guard lock(shared_->mutex);
        shared_->hasEnded = true;
        shared_->ready.clear();
        shared_->changed.notify_all();
    }
    Jobs jobs(running_.begin(), running_.end());
    for (auto& [origin, waiting] : waiting_)
        jobs.splice(jobs.end(), waiting);
    running_.clear();
    waiting_.clear();
    for (const auto& job : jobs) {
        job->place.reset();
        const Task done = std::exchange(job->done, nullptr);
    }
}

std::size_t WorkerPool::runningFor(const std::string& client) const {
    return static_cast<std::size_t>(std::ranges::count(
        running_, client, [](const JobPointer& job) { return job->origin.client; }));
}

std::size_t WorkerPool::runningOn(std::uint64_t disk) const {
    return static_cast<std::size_t>(
        std::ranges::count(running_, disk, [](const JobPointer& job) { return job->origin.disk; }));
}

bool WorkerPool::mayStart(const WorkOrigin& origin) const {
    return running_.size() + runningOn(origin.disk) < maximumThreads &&
           runningFor(origin.client) < threadsForOneClient;
}

void WorkerPool::startWaiting() {
    while (true) {
        auto next = waiting_.end();
        std::pair<std::size_t, std::size_t> least;
        for (auto group = waiting_.begin(); group != waiting_.end(); ++group) {
            const WorkOrigin& origin = group->first;
            if (!mayStart(origin)) continue;
            const std::pair running(runningFor(origin.client), runningOn(origin.disk));
            if (next != waiting_.end() && running >= least) continue;
            next = group;
            least = running;
        }
        if (next == waiting_.end()) return;
        const JobPointer job = next->second.front();
        next->second.pop_front();
        if (next->second.empty()) waiting_.erase(next);
        job->place.reset();
        start(job);
    }
}

void WorkerPool::start(const JobPointer& job) {
    running_.push_back(job);
    bool needsThread = false;
    {
        const std::lock_guard lock(shared_->mutex);
        shared_->ready.push_back(job);
        needsThread = shared_->ready.size() > shared_->idleThreads;
    }
    if (!needsThread) return shared_->changed.notify_one();
    try {
        startThread(label_, [shared = shared_] { serve(shared); });
    } catch (const std::system_error&) {
        // Without a result, unless another thread has taken it meanwhile.
        const std::lock_guard lock(shared_->mutex);
        if (std::erase(shared_->ready, job) > 0) report(*shared_, job);
    }
}

void WorkerPool::finished(const JobPointer& job) {
    std::erase(running_, job);
    Task done = std::exchange(job->done, nullptr);
    startWaiting();
    if (done) done();
}

void WorkerPool::serve(const std::shared_ptr<Shared>& shared) {
    std::unique_lock lock(shared->mutex);
    ++shared->idleThreads;
    while (true) {
        const auto isNeeded = [&] { return shared->hasEnded || !shared->ready.empty(); };
        shared->changed.wait_for(lock, idleTime, isNeeded);
        --shared->idleThreads;
        if (shared->ready.empty()) return;
        const JobPointer job = std::move(shared->ready.front());
        shared->ready.pop_front();
        lock.unlock();
        try {
            job->work();
        } catch (...) { // NOLINT(bugprone-empty-catch): `done` then finds no result
        }
        job->work = nullptr;
        lock.lock();
        // Before the report, so that the job that it makes room for finds this thread.
        ++shared->idleThreads;
        lock.unlock();
        report(*shared, job);
        lock.lock();
    }
}

void WorkerPool::report(const Shared& shared, const JobPointer& job) {
    while (const auto loop = shared.loop.lock()) {
        try {
            return loop->post([job] {
                if (const auto pool = job->pool.lock()) pool->finished(job);
            });
        } catch (const std::bad_alloc&) {
            // The client that waits for this would wait for ever.
            std::this_thread::sleep_for(std::chrono::milliseconds(10));
        }
    }
}

} // namespace quorvel::platform
