#include "Client.h"

#include <array>
#include <cerrno>
#include <netinet/in.h>
#include <stdexcept>
#include <sys/socket.h>
#include <sys/time.h>
#include <system_error>
#include <unistd.h>
#include <utility>

namespace quorvel::bench {

namespace {

constexpr timeval patience{20, 0};
constexpr std::size_t discardSize = 64 << 20;

std::size_t checked(ssize_t count, const char* what) {
    if (count < 0) throw std::system_error(errno, std::generic_category(), what);
    return static_cast<std::size_t>(count);
}

} // namespace

Client::Client(std::uint16_t port) : socket_(socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0)) {
    checked(socket_, "socket");
    setsockopt(socket_, SOL_SOCKET, SO_RCVTIMEO, &patience, sizeof patience);
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(port);
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    if (connect(socket_, reinterpret_cast<sockaddr*>(&address), sizeof address) == 0) return;
    const int code = errno;
    close(socket_);
    throw std::system_error(code, std::generic_category(), "connect");
}

Client::Client(Client&& other) noexcept
    : socket_(std::exchange(other.socket_, -1)), input_(std::move(other.input_)) {}

Client::~Client() {
    if (socket_ >= 0) close(socket_);
}

void Client::send(std::string_view text) const {
    if (checked(::send(socket_, text.data(), text.size(), MSG_NOSIGNAL), "send") != text.size())
        throw std::runtime_error("a request was sent in part");
}

std::string Client::until(std::string_view mark) {
    std::array<char, 4096> buffer;
    auto place = input_.find(mark);
    while (place == std::string::npos) {
        const auto count = checked(recv(socket_, buffer.data(), buffer.size(), 0), "recv");
        if (count == 0) throw std::runtime_error("closed after " + input_);
        input_.append(buffer.data(), count);
        place = input_.find(mark);
    }
    std::string answer = input_.substr(0, place + mark.size());
    input_.erase(0, answer.size());
    return answer;
}

std::uint64_t Client::discard(Clock::time_point end) {
    std::uint64_t bytes = std::exchange(input_, {}).size();
    while (Clock::now() < end) {
        // Without copying the bytes, so that the driver is not the bottleneck (tcp(7)).
        const auto count = checked(recv(socket_, nullptr, discardSize, MSG_TRUNC), "recv");
        if (count == 0) break;
        bytes += count;
    }
    return bytes;
}

void Client::resetOnClose() const {
    constexpr linger atOnce{1, 0};
    setsockopt(socket_, SOL_SOCKET, SO_LINGER, &atOnce, sizeof atOnce);
}

} // namespace quorvel::bench
