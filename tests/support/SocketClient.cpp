#include "support/SocketClient.h"

#include <array>
#include <gtest/gtest.h>
#include <netdb.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>

namespace quorvel::test {

using Clock = std::chrono::steady_clock;

constexpr std::chrono::seconds limit(20);

SocketClient::SocketClient(std::uint16_t port, const std::string& address) {
    addrinfo numeric{AI_NUMERICHOST, AF_UNSPEC, SOCK_STREAM, 0, 0, nullptr, nullptr, nullptr};
    addrinfo* target = nullptr;
    EXPECT_EQ(getaddrinfo(address.c_str(), std::to_string(port).c_str(), &numeric, &target), 0);
    socket_.reset(socket(target->ai_family, SOCK_STREAM | SOCK_CLOEXEC, 0));
    EXPECT_EQ(connect(descriptor(), target->ai_addr, target->ai_addrlen), 0)
        << address << " port " << port << ": errno " << errno;
    freeaddrinfo(target);
}

bool SocketClient::send(std::string_view bytes) const {
    while (!bytes.empty()) {
        const ssize_t count = ::send(descriptor(), bytes.data(), bytes.size(), MSG_NOSIGNAL);
        if (count < 0) return false;
        bytes.remove_prefix(static_cast<std::size_t>(count));
    }
    return true;
}

void SocketClient::finishSending() const {
    shutdown(descriptor(), SHUT_WR);
}

bool SocketClient::receiveMore(Clock::time_point deadline) {
    const auto left =
        std::chrono::duration_cast<std::chrono::milliseconds>(deadline - Clock::now());
    pollfd waiting{descriptor(), POLLIN, 0};
    if (left.count() <= 0 || poll(&waiting, 1, static_cast<int>(left.count())) <= 0) return false;
    std::array<char, 65536> bytes;
    const ssize_t count = recv(descriptor(), bytes.data(), bytes.size(), 0);
    wasReset_ = count < 0;
    hasEnded_ = count <= 0;
    if (!hasEnded_) buffer_.append(bytes.data(), static_cast<std::size_t>(count));
    return !hasEnded_;
}

std::string SocketClient::receiveAll() {
    const auto deadline = Clock::now() + limit;
    while (receiveMore(deadline)) {
    }
    EXPECT_TRUE(hasEnded_) << "the server did not close the connection";
    return std::exchange(buffer_, {});
}

std::string SocketClient::receiveUntil(std::string_view mark) {
    const auto deadline = Clock::now() + limit;
    while (!buffer_.contains(mark))
        if (!receiveMore(deadline)) return std::exchange(buffer_, {});
    const std::string result = buffer_.substr(0, buffer_.find(mark) + mark.size());
    buffer_.erase(0, result.size());
    return result;
}

std::uint16_t freePort() {
    const platform::Descriptor probe(socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0));
    sockaddr_in address{};
    address.sin_family = AF_INET;
    socklen_t length = sizeof address;
    EXPECT_EQ(bind(probe.number(), reinterpret_cast<sockaddr*>(&address), length), 0);
    getsockname(probe.number(), reinterpret_cast<sockaddr*>(&address), &length);
    return ntohs(address.sin_port);
}

} // namespace quorvel::test
