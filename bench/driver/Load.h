#pragma once

#include "Job.h"

#include <memory>
#include <string>
#include <vector>

namespace quorvel::bench {

/// When a load ends: after the time or after that many units, whichever comes first. Units under
/// way are then completed, or abandoned if `cut` is set.
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
    /// How long each unit took, in seconds.
    std::vector<double> latencies;
};

/// Clients that each repeat their job, on one thread.
class Load {
  public:
    using Jobs = std::vector<std::unique_ptr<Job>>;

    explicit Load(Jobs jobs) : jobs_(std::move(jobs)) {}

    /// Keeps all clients busy. Throws if the server stops answering.
    LoadResult run(const LoadEnd& end);

    /// Runs each client's job once, a few at a time, and leaves the connections open.
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
    /// Indexes of the clients about to begin their next unit.
    std::vector<std::size_t> waiting_;
    std::size_t active_ = 0;
    std::size_t begun_ = 0;
    /// With `once_`, the first client that has not begun.
    std::size_t next_ = 0;
    bool once_ = false;
};

} // namespace quorvel::bench
