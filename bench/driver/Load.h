#pragma once

#include "Client.h"

#include <functional>
#include <vector>

namespace quorvel::bench {

/// What clients got.
struct Figures {
    std::size_t units = 0;
    std::size_t failures = 0;
    std::string firstFailure;
    std::uint64_t bytes = 0;
    double seconds = 0;
    /// How long each unit took, in seconds.
    std::vector<double> latencies;
};

/// One unit of a client's work, such as a download: adds its bytes, and returns when it began.
/// A download may leave off at `end`; anything else goes on to its own. Throws on any answer but
/// the expected one.
using Unit = std::function<Clock::time_point(std::uint64_t& bytes, Clock::time_point end)>;

/// When a load ends: at that time, or after that many units for each client if it is not 0.
struct LoadEnd {
    Clock::time_point time;
    std::size_t units = 0;
};

/// Keeps a thread for each client busy. `makeClient` is called in that thread, again after a
/// failure; with too many failures it throws the last one.
Figures load(std::size_t clients, LoadEnd end, const std::function<Unit()>& makeClient);

} // namespace quorvel::bench
