#pragma once

#include "platform/Threads.h"

#include <functional>
#include <memory>
#include <string>

namespace quorvel::platform {

class Loop;
class WorkerPool;

/// Runs first on a queue's thread, before any task: the place where it drops its rights. The
/// threads of the pool inherit what it has done. May be empty.
using ThreadSetup = std::function<void()>;

/// The thread on which a server's callbacks run, one at a time, with its event loop, on which
/// nothing may wait, and a pool of threads beside it for what may.
///
/// The thread starts with the queue and ends by itself after its release; the destructor never
/// waits, so that it may run on that thread. Connections and listeners that are still open on a
/// released queue are closed, and their callbacks are dropped without being called.
class WorkQueue {
  public:
    /// The label names the threads. Throws std::system_error when the system is out of threads or
    /// descriptors.
    static std::shared_ptr<WorkQueue> create(const std::string& label,
                                             const ThreadSetup& setup = {});

    ~WorkQueue();
    WorkQueue(const WorkQueue&) = delete;
    WorkQueue& operator=(const WorkQueue&) = delete;

    /// Runs the task on the queue's thread. A task that is still waiting when the queue is
    /// released is destroyed without being run. Thread-safe.
    void post(Task task);

    /// Does not keep the queue's thread from ending.
    const std::shared_ptr<WorkerPool>& workers() const { return workers_; }

  private:
    friend class SocketListener;

    WorkQueue(const std::string& label, const ThreadSetup& setup);

    std::shared_ptr<Loop> loop_;
    std::shared_ptr<WorkerPool> workers_;
};

} // namespace quorvel::platform
