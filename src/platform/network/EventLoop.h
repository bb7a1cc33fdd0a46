#pragma once

#include "platform/network/WorkQueue.h"

#include <chrono>
#include <memory>

namespace quorvel::platform {

/// The main thread's queue for programs without an interface.
class EventLoop {
  public:
    EventLoop();
    ~EventLoop();
    EventLoop(const EventLoop&) = delete;
    EventLoop& operator=(const EventLoop&) = delete;

    /// Any thread; the task runs in `run`.
    void post(Task task);
    void postAfter(std::chrono::milliseconds delay, Task task);

    /// Runs the task once when SIGTERM or SIGINT arrives; a second signal ends the process.
    void onTerminationSignal(Task task);

    /// Runs tasks until `quit`.
    void run();
    void quit();

  private:
    struct State;
    std::unique_ptr<State> state_;
};

} // namespace quorvel::platform
