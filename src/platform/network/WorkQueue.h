#pragma once

#include <chrono>
#include <cstddef>
#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace quorvel::platform {

class Loop;

/// A task that runs once.
using Task = std::move_only_function<void()>;

/// Runs first on every thread of a queue, before any task: the place where a thread drops its
/// rights. May be empty.
using ThreadSetup = std::function<void()>;

/// The threads on which a server's callbacks run, each with an event loop of its own.
///
/// The threads start with the queue and end by themselves after its release; the destructor never
/// waits, so that it may run on one of them. Connections and listeners that are still open on a
/// released queue are closed, and their callbacks are dropped without being called.
class WorkQueue {
  public:
    /// One thread, so that tasks run one at a time and in order. The label names the threads. Both
    /// throw std::system_error when the system is out of threads or descriptors.
    static std::shared_ptr<WorkQueue> serial(const std::string& label,
                                             const ThreadSetup& setup = {});
    /// Several threads: a connection stays on the thread that accepted it, so that its callbacks
    /// still run one at a time.
    static std::shared_ptr<WorkQueue> concurrent(const std::string& label,
                                                 const ThreadSetup& setup = {});

    ~WorkQueue();
    WorkQueue(const WorkQueue&) = delete;
    WorkQueue& operator=(const WorkQueue&) = delete;

    /// Runs the task on one of the queue's threads. A task that is still waiting when the queue is
    /// released is destroyed without being run. Thread-safe.
    void post(Task task);

    /// Waits until the threads of all released queues have ended; returns false after the timeout.
    /// For the end of a process, whose teardown would race with threads that outlive main().
    static bool waitUntilAllEnded(std::chrono::milliseconds timeout);

  private:
    friend class SocketListener;

    WorkQueue(const std::string& label, std::size_t threads, const ThreadSetup& setup);
    void endLoops();

    std::vector<std::shared_ptr<Loop>> loops_;
};

} // namespace quorvel::platform
