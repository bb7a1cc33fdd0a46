#pragma once

#include "platform/Result.h"
#include "platform/Threads.h"

#include <cerrno>
#include <compare>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <list>
#include <map>
#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace quorvel::platform {

class Loop;

/// What a piece of work may get stuck on, and for whom it is done.
struct WorkOrigin {
    /// The device number, or another number that tells disks apart.
    std::uint64_t disk = 0;
    /// The client's address.
    std::string client;

    auto operator<=>(const WorkOrigin&) const = default;
};

/// The threads beside an event loop for work that may wait for a disk. They are made when work
/// comes and end after some idle seconds. Every call is made on the loop's thread.
///
/// Of `maximumThreads`, work on one disk may hold half of those that other disks leave, and one
/// client three quarters, so that a disk that hangs never stops the work on others. Work beyond
/// that waits: the client with the least work that is running comes first, then the oldest work.
class WorkerPool : public std::enable_shared_from_this<WorkerPool> {
  public:
    static constexpr std::size_t maximumThreads = 32;

    /// A piece of work that has been asked for; expired when it is done.
    class Job;
    using Work = std::weak_ptr<Job>;

    WorkerPool(std::string label, std::weak_ptr<Loop> loop);
    ~WorkerPool();
    WorkerPool(const WorkerPool&) = delete;
    WorkerPool& operator=(const WorkerPool&) = delete;

    /// The pool of the loop that runs on this thread; null on any other thread.
    static WorkerPool* ofThisThread();

    /// Runs `work` on a thread of the pool, then `done` with its result on the loop: ENOMEM if it
    /// threw anything, or if no thread can be had. What `work` holds is released on its thread.
    /// After `close` that is all that happens.
    template <class Value>
    Work run(const WorkOrigin& origin, std::move_only_function<Result<Value>()> work,
             std::move_only_function<void(Result<Value>)> done) {
        auto result = std::make_shared<Result<Value>>(failure(ENOMEM));
        return add(
            origin, [result, work = std::move(work)]() mutable { *result = work(); },
            [result, done = std::move(done)]() mutable { done(std::move(*result)); });
    }

    /// Drops the callback uncalled, and the work too if no thread has begun it.
    void cancel(const Work& work);

    /// Cancels all work for good; threads end when what they do is done. Called when the loop ends.
    void close();

  private:
    struct Shared;
    using JobPointer = std::shared_ptr<Job>;
    using Jobs = std::list<JobPointer>;

    Work add(const WorkOrigin& origin, Task work, Task done);
    std::size_t runningFor(const std::string& client) const;
    std::size_t runningOn(std::uint64_t disk) const;
    bool mayStart(const WorkOrigin& origin) const;
    Jobs takeNext();
    void startWaiting();
    void start(Jobs job);
    void giveToThreads(Jobs jobs);
    void finished(const JobPointer& job);
    static void serve(const std::shared_ptr<Shared>& shared);
    static void post(const Shared& shared, const JobPointer& job);
    static void report(const Shared& shared, const JobPointer& job);

    const std::string label_;
    const std::shared_ptr<Shared> shared_;
    /// For each origin in the order in which they came.
    std::map<WorkOrigin, Jobs> waiting_;
    std::vector<JobPointer> running_;
    std::uint64_t jobsSoFar_ = 0;
};

} // namespace quorvel::platform
