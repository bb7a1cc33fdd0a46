#pragma once

#include "model/MainQueue.h"

#include <thread>

namespace quorvel::serve {

/// Handles SIGTERM and SIGINT. Must be created before any other thread, because threads inherit
/// the signal mask, and destroyed after the queue has quit. Main thread.
class TerminationSignals final {
  public:
    /// The first signal posts the action to the queue; a second one ends the process.
    TerminationSignals(model::MainQueue& queue, platform::Task action);
    ~TerminationSignals();
    TerminationSignals(const TerminationSignals&) = delete;
    TerminationSignals& operator=(const TerminationSignals&) = delete;

  private:
    std::thread waiting_;
};

} // namespace quorvel::serve
