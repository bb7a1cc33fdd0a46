#pragma once

#include "Job.h"

#include <memory>
#include <string>
#include <vector>

namespace quorvel::bench {

/// When a load ends: after the time, or after that many units, whichever comes first. What is
/// still under way then is finished, or cut where that would take long.
struct LoadEnd {
    std::chrono::duration<double> time{};
    std::size_t units = 0;
    bool cut = false;
};

struct LoadResult {
    std::size_t units = 0;
    std::size_t failures = 0;
    std::string firstFailure;
    std::uint64_t bytes = 0;
    double seconds = 0;
    /// How long each unit took.
    std::vector<double> latencies;
};

/// Clients that each do their job again and again, on one thread.
class Load {
  public:
    using Jobs = std::vector<std::unique_ptr<Job>>;

    explicit Load(Jobs jobs) : jobs_(std::move(jobs)) {}

    /// Keeps all clients busy. Throws when nothing moves any more.
    LoadResult run(const LoadEnd& end);

    /// Has each client do its job once, a few at a time, and leaves them as they are.
    LoadResult runEachOnce(std::size_t parallel);

  private:
    LoadResult run();
    void beginWaiting();
    template <class Step>
    void attempt(std::size_t index, Step step);
    void settle(std::size_t index, Status status);
    void putBack(std::size_t index);
    bool isOver() const;
    LoadResult finish();

    Jobs jobs_;
    Poller poller_;
    LoadEnd end_;
    LoadResult result_;
    Clock::time_point began_;
    /// Indexes of the clients that are to begin their next unit.
    std::vector<std::size_t> waiting_;
    std::size_t active_ = 0;
    std::size_t begun_ = 0;
    /// Where each client has one turn: the next that has not had it.
    std::size_t next_ = 0;
    bool once_ = false;
};

} // namespace quorvel::bench
