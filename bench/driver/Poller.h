#pragma once

#include <chrono>
#include <cstdint>
#include <span>
#include <sys/epoll.h>

namespace quorvel::bench {

/// Waits for many descriptors at once (epoll(7), level-triggered). Closing a descriptor removes it.
class Poller {
  public:
    Poller();
    ~Poller();
    Poller(const Poller&) = delete;
    Poller& operator=(const Poller&) = delete;

    void watch(std::uint32_t owner, int descriptor, std::uint32_t events);
    void change(std::uint32_t owner, int descriptor, std::uint32_t events);

    /// Returns the events; none after the timeout.
    std::span<epoll_event> wait(std::chrono::milliseconds timeout);

    static std::uint32_t owner(const epoll_event& event) {
        return static_cast<std::uint32_t>(event.data.u64 >> 32);
    }
    static int descriptor(const epoll_event& event) {
        return static_cast<int>(event.data.u64 & 0xffffffffU);
    }

  private:
    void control(int operation, std::uint32_t owner, int descriptor, std::uint32_t events) const;

    static constexpr int capacity = 256;
    int number_;
    epoll_event events_[capacity] = {};
};

} // namespace quorvel::bench
