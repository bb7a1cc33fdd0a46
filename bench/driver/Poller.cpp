#include "Poller.h"

#include <cerrno>
#include <system_error>
#include <unistd.h>

namespace quorvel::bench {

Poller::Poller() : number_(epoll_create1(EPOLL_CLOEXEC)) {
    if (number_ < 0) throw std::system_error(errno, std::generic_category(), "epoll_create1");
}

Poller::~Poller() {
    close(number_);
}

void Poller::watch(std::uint32_t owner, int descriptor, std::uint32_t events) {
    control(EPOLL_CTL_ADD, owner, descriptor, events);
}

void Poller::change(std::uint32_t owner, int descriptor, std::uint32_t events) {
    control(EPOLL_CTL_MOD, owner, descriptor, events);
}

void Poller::control(int operation, std::uint32_t owner, int descriptor,
                     std::uint32_t events) const {
    epoll_event event{};
    event.events = events;
    event.data.u64 = std::uint64_t{owner} << 32 | static_cast<std::uint32_t>(descriptor);
    if (epoll_ctl(number_, operation, descriptor, &event) != 0)
        throw std::system_error(errno, std::generic_category(), "epoll_ctl");
}

std::span<epoll_event> Poller::wait(std::chrono::milliseconds timeout) {
    const int count = epoll_wait(number_, events_, capacity, static_cast<int>(timeout.count()));
    if (count < 0 && errno != EINTR)
        throw std::system_error(errno, std::generic_category(), "epoll_wait");
    return {events_, static_cast<std::size_t>(count < 0 ? 0 : count)};
}

} // namespace quorvel::bench
