#include "Socket.h"

#include <cerrno>
#include <netinet/in.h>
#include <stdexcept>
#include <sys/socket.h>
#include <system_error>
#include <unistd.h>
#include <utility>

namespace quorvel::bench {

namespace {

constexpr std::size_t discardSize = 64 << 20;

[[noreturn]] void fail(const char* what) {
    throw std::system_error(errno, std::generic_category(), what);
}

} // namespace

Socket::Socket(std::uint16_t port)
    : number_(socket(AF_INET, SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0)) {
    if (number_ < 0) fail("socket");
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(port);
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    if (connect(number_, reinterpret_cast<sockaddr*>(&address), sizeof address) == 0 ||
        errno == EINPROGRESS)
        return;
    const int code = errno;
    close();
    errno = code;
    fail("connect");
}

Socket::Socket(Socket&& other) noexcept : number_(std::exchange(other.number_, -1)) {}

Socket& Socket::operator=(Socket&& other) noexcept {
    std::swap(number_, other.number_);
    return *this;
}

bool Socket::send(std::string_view text) {
    const ssize_t count = ::send(number_, text.data(), text.size(), MSG_NOSIGNAL);
    if (count < 0 && errno == EAGAIN) return false;
    if (count < 0) fail("send");
    if (static_cast<std::size_t>(count) != text.size())
        throw std::runtime_error("a request was sent in part");
    return true;
}

Socket::Input Socket::receive(std::span<char> into) {
    return take(into.data(), into.size(), 0);
}

Socket::Input Socket::discard() {
    return take(nullptr, discardSize, MSG_TRUNC);
}

Socket::Input Socket::take(char* into, std::size_t size, int flags) {
    const ssize_t count = recv(number_, into, size, flags);
    if (count < 0 && errno != EAGAIN) fail("recv");
    const auto bytes = static_cast<std::size_t>(count < 0 ? 0 : count);
    return {bytes, count == 0, bytes < size};
}

void Socket::close() {
    if (number_ >= 0) ::close(std::exchange(number_, -1));
}

void Socket::closeWithReset() {
    constexpr linger atOnce{1, 0};
    if (number_ >= 0) setsockopt(number_, SOL_SOCKET, SO_LINGER, &atOnce, sizeof atOnce);
    close();
}

} // namespace quorvel::bench
