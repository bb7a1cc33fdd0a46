#pragma once

#include "Poller.h"

#include <chrono>
#include <cstdint>

namespace quorvel::bench {

using Clock = std::chrono::steady_clock;

enum class Status { busy, done };

/// What one client does over and over: a request, a session, a transfer. Anything but the
/// expected answer is thrown.
class Job {
  public:
    Job() = default;
    virtual ~Job() = default;
    Job(const Job&) = delete;
    Job& operator=(const Job&) = delete;

    /// Starts one unit of work; sockets are watched under the given number.
    virtual Status begin(Poller& poller, std::uint32_t number) = 0;
    /// Goes on after an event of a watched descriptor.
    virtual Status ready(int descriptor, std::uint32_t events) = 0;
    /// Closes everything in the middle.
    virtual void abandon() = 0;

    /// When the measured part of the unit began.
    Clock::time_point started;
    /// Payload received over all units.
    std::uint64_t bytes = 0;
};

} // namespace quorvel::bench
