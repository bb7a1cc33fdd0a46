#pragma once

#include "model/MainQueue.h"

#include <thread>

namespace quorvel::serve {

/// SIGTERM and SIGINT, for as long as this object lives. To be made before any other thread,
/// because threads inherit what is blocked. Main thread.
class TerminationSignals final {
  public:
    /// Posts the action to the queue on the first signal; after that they end the process.
    TerminationSignals(model::MainQueue& queue, platform::Task action);
    ~TerminationSignals();
    TerminationSignals(const TerminationSignals&) = delete;
    TerminationSignals& operator=(const TerminationSignals&) = delete;

  private:
    std::thread waiting_;
};

} // namespace quorvel::serve
