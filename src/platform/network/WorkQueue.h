#pragma once

#include <chrono>
#include <cstddef>
#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace quorvel::platform {

class Loop;

/// One task, run once.
using Task = std::move_only_function<void()>;

/// Runs first on every thread of a queue, before any task: the place where a thread gives up
/// rights. May be empty.
using ThreadSetup = std::function<void()>;

/// The threads on which a server's callbacks run, each with an event loop of its own.
///
/// The threads start with the queue and end by themselves after it is released; the destructor
/// never waits, so it may run on one of them. What is still open on a released queue (idle
/// connections, stalled transfers) is closed, its callbacks are dropped without being called.
class WorkQueue {
  public:
    /// One thread: tasks run one at a time, in order. The label names the threads. Both throw
    /// std::system_error when the system has no more threads or descriptors.
    static std::shared_ptr<WorkQueue> serial(std::string label, const ThreadSetup& setup = {});
    /// Several threads: a connection stays on the thread that accepted it, and its callbacks
    /// follow each other.
    static std::shared_ptr<WorkQueue> concurrent(std::string label, const ThreadSetup& setup = {});

    ~WorkQueue();
    WorkQueue(const WorkQueue&) = delete;
    WorkQueue& operator=(const WorkQueue&) = delete;

    /// Runs the task on one of the queue's threads; callable from any thread. A task still
    /// waiting when the queue is released is destroyed unrun.
    void post(Task task);

    const std::string& label() const { return label_; }

    /// Waits until the threads of all released queues have ended; false after the timeout.
    /// For the end of a process: whatever runs on after main() would race with its teardown.
    static bool waitUntilAllEnded(std::chrono::milliseconds timeout);

  private:
    friend class SocketListener;

    WorkQueue(std::string label, std::size_t threads, const ThreadSetup& setup);
    void endLoops();

    std::string label_;
    std::vector<std::shared_ptr<Loop>> loops_;
};

} // namespace quorvel::platform
