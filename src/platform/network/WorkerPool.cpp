#include "platform/network/WorkerPool.h"

#include "platform/network/Loop.h"

#include <algorithm>
#include <chrono>
#include <condition_variable>
#include <exception>
#include <iterator>
#include <mutex>
#include <new>
#include <optional>
#include <thread>
#include <tuple>

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
    const std::uint64_t number;
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
    Jobs ready;
    std::size_t threads = 0;
    std::size_t idleThreads = 0;
    bool hasEnded = false;
};

WorkerPool::WorkerPool(std::string label, std::weak_ptr<Loop> loop)
    : label_(std::move(label)), shared_(std::make_shared<Shared>()) {
    shared_->loop = std::move(loop);
    running_.reserve(maximumThreads);
}

WorkerPool::~WorkerPool() {
    WorkerPool::close();
}

WorkerPool::Work WorkerPool::add(const WorkOrigin& origin, Task work, Task done) {
    // All the memory that the job needs is had before anything changes.
    Jobs added{std::make_shared<Job>(origin, jobsSoFar_++, weak_from_this(), std::move(work),
                                     std::move(done))};
    const JobPointer job = added.front();
    if (shared_->hasEnded) {
        job->done = nullptr;
        giveToThreads(std::move(added));
        return {};
    }
    Jobs& jobs = waiting_[origin];
    jobs.splice(jobs.end(), added);
    job->place = std::prev(jobs.end());
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
        shared_->changed.notify_all();
    }
    Jobs unstarted;
    for (auto& [origin, jobs] : waiting_)
        unstarted.splice(unstarted.end(), jobs);
    waiting_.clear();
    for (const auto& job : unstarted)
        job->place.reset();
    for (const auto& job : std::exchange(running_, {}))
        const Task done = std::exchange(job->done, nullptr);
    for (const auto& job : unstarted)
        const Task done = std::exchange(job->done, nullptr);
    // What it holds is not released here: closing a file may wait.
    if (!unstarted.empty()) giveToThreads(std::move(unstarted));
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

/// Takes the next job that may start, as a list of one; empty if there is none.
WorkerPool::Jobs WorkerPool::takeNext() {
    auto next = waiting_.end();
    std::tuple<std::size_t, std::size_t, std::uint64_t> least;
    for (auto group = waiting_.begin(); group != waiting_.end(); ++group) {
        const auto& [origin, jobs] = *group;
        if (!mayStart(origin)) continue;
        const std::tuple rank(runningFor(origin.client), runningOn(origin.disk),
                              jobs.front()->number);
        if (next != waiting_.end() && rank > least) continue;
        next = group;
        least = rank;
    }
    Jobs taken;
    if (next == waiting_.end()) return taken;
    Jobs& jobs = next->second;
    taken.splice(taken.end(), jobs, jobs.begin());
    if (jobs.empty()) waiting_.erase(next);
    taken.front()->place.reset();
    return taken;
}

void WorkerPool::startWaiting() {
    while (running_.size() < maximumThreads) {
        Jobs next = takeNext();
        if (next.empty()) return;
        start(std::move(next));
    }
}

// Never throws: a job may belong to another client than the one that is being served.
void WorkerPool::start(Jobs job) {
    const JobPointer started = running_.emplace_back(job.front());
    giveToThreads(std::move(job));
    const std::lock_guard lock(shared_->mutex);
    if (shared_->threads > 0) return;
    // No thread can be had, and none will come round to it.
    shared_->ready.remove(started);
    try {
        post(*shared_, started);
    } catch (const std::bad_alloc&) {
        shared_->ready.push_back(started);
    }
}

/// Adds to what the threads do, and makes one more if none is idle and one can be had.
void WorkerPool::giveToThreads(Jobs jobs) {
    {
        const std::lock_guard lock(shared_->mutex);
        shared_->ready.splice(shared_->ready.end(), jobs);
        if (shared_->ready.size() <= shared_->idleThreads) return shared_->changed.notify_one();
        ++shared_->threads;
    }
    try {
        startThread(label_, [shared = shared_] { serve(shared); });
    } catch (const std::exception&) {
        const std::lock_guard lock(shared_->mutex);
        --shared_->threads;
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
        if (shared->ready.empty()) break;
        const JobPointer job = std::move(shared->ready.front());
        shared->ready.pop_front();
        const bool isWanted = !shared->hasEnded;
        lock.unlock();
        try {
            if (isWanted) job->work();
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
    --shared->threads;
}

void WorkerPool::post(const Shared& shared, const JobPointer& job) {
    const auto loop = shared.loop.lock();
    if (!loop) return;
    loop->post([job] {
        if (const auto pool = job->pool.lock()) pool->finished(job);
    });
}

void WorkerPool::report(const Shared& shared, const JobPointer& job) {
    while (true) {
        try {
            return post(shared, job);
        } catch (const std::bad_alloc&) {
            // The client that waits for this would wait for ever.
            std::this_thread::sleep_for(std::chrono::milliseconds(10));
        }
    }
}

WorkerPool* WorkerPool::ofThisThread() {
    return Loop::ofThisThread() != nullptr ? &Loop::ofThisThread()->workers() : nullptr;
}

} // namespace quorvel::platform
