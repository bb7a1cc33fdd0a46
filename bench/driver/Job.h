#pragma once

#include "Poller.h"

#include <chrono>
#include <cstdint>

namespace quorvel::bench {

using Clock = std::chrono::steady_clock;

enum class Status { busy, done };

/// What one client does repeatedly: a request, a session, a transfer. Throws on any answer but the
/// expected one.
class Job {
  public:
    Job() = default;
    virtual ~Job() = default;
    Job(const Job&) = delete;
    Job& operator=(const Job&) = delete;

    /// Starts one unit of work; its sockets are watched with `number` as their owner.
    virtual Status begin(Poller& poller, std::uint32_t number) = 0;
    /// Continues after an event on a watched descriptor.
    virtual Status ready(int descriptor, std::uint32_t events) = 0;
    /// Closes everything, whatever is under way.
    virtual void abandon() = 0;

    /// When the timed part of the unit began.
    Clock::time_point started;
    /// Payload received over all units.
    std::uint64_t bytes = 0;
};

} // namespace quorvel::bench
