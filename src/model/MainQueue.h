#pragma once

#include "platform/network/WorkQueue.h"

#include <chrono>

namespace quorvel::model {

/// The main thread, on which the model and the views live. Supplied by the desktop.
class MainQueue {
  public:
    virtual ~MainQueue() = default;

    /// Any thread. Tasks run on the main thread in the order of posting, never inside the call.
    virtual void post(platform::Task task) = 0;

    /// Main thread. The task runs there once the time has passed.
    virtual void postAfter(std::chrono::milliseconds delay, platform::Task task) = 0;
};

} // namespace quorvel::model
