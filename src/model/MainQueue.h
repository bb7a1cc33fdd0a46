#pragma once

#include "platform/network/WorkQueue.h"

#include <chrono>

namespace quorvel::model {

/// The queue of the main thread, to which the model and the views belong.
class MainQueue {
  public:
    virtual ~MainQueue() = default;

    /// Thread-safe. Tasks run on the main thread in the order they were posted, never inside the
    /// call.
    virtual void post(platform::Task task) = 0;

    /// Main thread only. The task runs there after the delay.
    virtual void postAfter(std::chrono::milliseconds delay, platform::Task task) = 0;
};

} // namespace quorvel::model
