#include "support/SocketClient.h"

#include <arpa/inet.h>
#include <array>
#include <cerrno>
#include <filesystem>
#include <gtest/gtest.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>
#include <thread>
#include <unistd.h>

namespace quorvel::test {

namespace {

using Clock = std::chrono::steady_clock;

int connectTo(std::uint16_t port, const std::string& address) {
    const bool isIPv6 = address.find(':') != std::string::npos;
    const int descriptor = socket(isIPv6 ? AF_INET6 : AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    sockaddr_in6 ipv6{};
    sockaddr_in ipv4{};
    ipv6.sin6_family = AF_INET6;
    ipv6.sin6_port = htons(port);
    ipv4.sin_family = AF_INET;
    ipv4.sin_port = htons(port);
    inet_pton(AF_INET6, address.c_str(), &ipv6.sin6_addr);
    inet_pton(AF_INET, address.c_str(), &ipv4.sin_addr);
    const auto* const target = isIPv6 ? reinterpret_cast<const sockaddr*>(&ipv6)
                                      : reinterpret_cast<const sockaddr*>(&ipv4);
    const socklen_t length = isIPv6 ? sizeof ipv6 : sizeof ipv4;
    if (connect(descriptor, target, length) == 0) return descriptor;
    ADD_FAILURE() << "No connection to " << address << " port " << port << ": errno " << errno;
    ::close(descriptor);
    return -1;
}

std::size_t countIn(const char* folder) {
    std::size_t count = 0;
    for ([[maybe_unused]] const auto& entry : std::filesystem::directory_iterator(folder))
        ++count;
    return count;
}

} // namespace

SocketClient::SocketClient(std::uint16_t port, const std::string& address)
    : descriptor_(connectTo(port, address)) {}

SocketClient::SocketClient(SocketClient&& other) noexcept
    : descriptor_(std::exchange(other.descriptor_, -1)), buffer_(std::move(other.buffer_)),
      wasReset_(other.wasReset_) {}

SocketClient::~SocketClient() {
    close();
}

void SocketClient::close() {
    if (descriptor_ >= 0) ::close(std::exchange(descriptor_, -1));
}

bool SocketClient::send(std::string_view bytes) const {
    while (!bytes.empty()) {
        const ssize_t count = ::send(descriptor_, bytes.data(), bytes.size(), MSG_NOSIGNAL);
        if (count < 0) return false;
        bytes.remove_prefix(static_cast<std::size_t>(count));
    }
    return true;
}

void SocketClient::finishSending() const {
    shutdown(descriptor_, SHUT_WR);
}

SocketClient::Outcome SocketClient::receiveMore(Clock::time_point deadline) {
    const auto left =
        std::chrono::duration_cast<std::chrono::milliseconds>(deadline - Clock::now()).count();
    pollfd waiting{descriptor_, POLLIN, 0};
    if (left <= 0 || poll(&waiting, 1, static_cast<int>(left)) <= 0) return Outcome::timeout;
    std::array<char, 65536> bytes;
    const ssize_t count = recv(descriptor_, bytes.data(), bytes.size(), 0);
    if (count < 0) wasReset_ = true;
    if (count <= 0) return Outcome::end;
    buffer_.append(bytes.data(), static_cast<std::size_t>(count));
    return Outcome::bytes;
}

std::string SocketClient::take(std::size_t count) {
    std::string result = buffer_.substr(0, count);
    buffer_.erase(0, count);
    return result;
}

std::string SocketClient::receiveAll(std::chrono::milliseconds limit) {
    const auto deadline = Clock::now() + limit;
    Outcome outcome = Outcome::bytes;
    while (outcome == Outcome::bytes)
        outcome = receiveMore(deadline);
    EXPECT_EQ(outcome, Outcome::end) << "the server did not close the connection";
    return take(buffer_.size());
}

std::string SocketClient::receiveUntil(std::string_view mark, std::chrono::milliseconds limit) {
    const auto deadline = Clock::now() + limit;
    while (buffer_.find(mark) == std::string::npos)
        if (receiveMore(deadline) != Outcome::bytes) return take(buffer_.size());
    return take(buffer_.find(mark) + mark.size());
}

std::string SocketClient::receiveExactly(std::size_t count, std::chrono::milliseconds limit) {
    const auto deadline = Clock::now() + limit;
    while (buffer_.size() < count)
        if (receiveMore(deadline) != Outcome::bytes) break;
    return take(count);
}

std::string SocketClient::receiveFor(std::chrono::milliseconds time) {
    const auto deadline = Clock::now() + time;
    while (receiveMore(deadline) == Outcome::bytes) {
    }
    return take(buffer_.size());
}

void SocketClient::shrinkReceiveBuffer() const {
    const int size = 4096;
    setsockopt(descriptor_, SOL_SOCKET, SO_RCVBUF, &size, sizeof size);
}

std::uint16_t freePort() {
    const int descriptor = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    sockaddr_in address{};
    address.sin_family = AF_INET;
    socklen_t length = sizeof address;
    EXPECT_EQ(bind(descriptor, reinterpret_cast<sockaddr*>(&address), length), 0);
    getsockname(descriptor, reinterpret_cast<sockaddr*>(&address), &length);
    ::close(descriptor);
    return ntohs(address.sin_port);
}

std::size_t openDescriptorCount() {
    return countIn("/proc/self/fd");
}

std::size_t threadCount() {
    return countIn("/proc/self/task");
}

void sleepFor(std::chrono::milliseconds time) {
    std::this_thread::sleep_for(time);
}

} // namespace quorvel::test
