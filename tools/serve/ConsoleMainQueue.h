#pragma once

#include "model/MainQueue.h"

#include <chrono>
#include <condition_variable>
#include <map>
#include <mutex>

namespace quorvel::serve {

/// The main queue of a program without a user interface. Tasks still waiting when it is destroyed
/// are dropped.
class ConsoleMainQueue final : public model::MainQueue {
  public:
    void post(platform::Task task) override;
    void postAfter(std::chrono::milliseconds delay, platform::Task task) override;

    /// Runs tasks on the calling thread until `quit`.
    void run();
    /// Makes `run` return after its current task, or at once if it is called later. Any thread.
    void quit();

  private:
    using Clock = std::chrono::steady_clock;

    std::mutex mutex_;
    std::condition_variable changed_;
    /// By due time; tasks due at the same time keep the order of posting.
    std::multimap<Clock::time_point, platform::Task> tasks_;
    bool hasQuit_ = false;
};

} // namespace quorvel::serve
