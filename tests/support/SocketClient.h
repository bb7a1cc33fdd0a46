#pragma once

#include "platform/Descriptor.h"

#include <array>
#include <atomic>
#include <chrono>
#include <cstring>
#include <gtest/gtest.h>
#include <netdb.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>
#include <thread>
#include <unistd.h>

namespace quorvel::test {

using Clock = std::chrono::steady_clock;

/// A client that blocks, for looking at the bytes on the wire. Every wait is bounded.
class SocketClient {
  public:
    /// Connects to the address; a test assertion tells when it fails.
    explicit SocketClient(std::uint16_t port, const std::string& address = "127.0.0.1") {
        addrinfo numeric{AI_NUMERICHOST, AF_UNSPEC, SOCK_STREAM, 0, 0, nullptr, nullptr, nullptr};
        addrinfo* target = nullptr;
        EXPECT_EQ(getaddrinfo(address.c_str(), std::to_string(port).c_str(), &numeric, &target), 0);
        socket_.reset(socket(target->ai_family, SOCK_STREAM | SOCK_CLOEXEC, 0));
        EXPECT_EQ(connect(descriptor(), target->ai_addr, target->ai_addrlen), 0)
            << address << " port " << port << ": errno " << errno;
        freeaddrinfo(target);
    }

    /// Sends all of it; false when the server has closed.
    bool send(std::string_view bytes) const {
        while (!bytes.empty()) {
            const ssize_t count = ::send(descriptor(), bytes.data(), bytes.size(), MSG_NOSIGNAL);
            if (count < 0) return false;
            bytes.remove_prefix(static_cast<std::size_t>(count));
        }
        return true;
    }
    /// More than these bytes, and what was announced before, wait at the server.
    void limitBuffer(int bytes) const {
        setsockopt(descriptor(), SOL_SOCKET, SO_RCVBUF, &bytes, sizeof bytes);
    }
    void finishSending() const { shutdown(descriptor(), SHUT_WR); }

    /// All bytes up to the end of the stream. `wasReset` tells how it ended.
    std::string receiveAll() {
        const auto deadline = Clock::now() + limit;
        while (receiveMore(deadline)) {
        }
        EXPECT_TRUE(hasEnded_) << "the server did not close the connection";
        return std::exchange(buffer_, {});
    }
    /// Bytes up to and including the first occurrence of `mark`; what came until the end or the
    /// limit when it never comes.
    std::string receiveUntil(std::string_view mark) {
        const auto deadline = Clock::now() + limit;
        while (!buffer_.contains(mark))
            if (!receiveMore(deadline)) return std::exchange(buffer_, {});
        const std::string result = buffer_.substr(0, buffer_.find(mark) + mark.size());
        buffer_.erase(0, result.size());
        return result;
    }

    bool wasReset() const { return wasReset_; }
    void close() { socket_.reset(); }
    int descriptor() const { return socket_.number(); }

  private:
    static constexpr std::chrono::seconds limit{20};

    bool receiveMore(Clock::time_point deadline) {
        using std::chrono::milliseconds;
        const auto left = std::chrono::duration_cast<milliseconds>(deadline - Clock::now()).count();
        pollfd waiting{descriptor(), POLLIN, 0};
        if (left <= 0 || poll(&waiting, 1, static_cast<int>(left)) <= 0) return false;
        std::array<char, 65536> bytes;
        const ssize_t count = recv(descriptor(), bytes.data(), bytes.size(), 0);
        wasReset_ = count < 0;
        hasEnded_ = count <= 0;
        if (!hasEnded_) buffer_.append(bytes.data(), static_cast<std::size_t>(count));
        return !hasEnded_;
    }

    platform::Descriptor socket_;
    std::string buffer_;
    bool hasEnded_ = false;
    bool wasReset_ = false;
};

/// A port on which nothing listens at the moment. From below those that the system gives to
/// clients: one of these could be taken again before the server gets to it.
inline std::uint16_t freePort() {
    constexpr int first = 10'000, count = 20'000, perProcess = 101;
    static std::atomic<int> next = getpid() * perProcess % count;
    for (int tries = count; tries > 0; --tries) {
        const platform::Descriptor probe(socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0));
        sockaddr_in address{};
        address.sin_family = AF_INET;
        address.sin_port = htons(static_cast<std::uint16_t>(first + next++ % count));
        if (bind(probe.number(), reinterpret_cast<sockaddr*>(&address), sizeof address) == 0)
            return ntohs(address.sin_port);
    }
    ADD_FAILURE() << "no free port: " << std::strerror(errno);
    return 0;
}

/// Asks until the condition holds; false after the limit.
template <class Condition>
bool eventually(Condition condition, std::chrono::milliseconds limit = std::chrono::seconds(10)) {
    const auto deadline = Clock::now() + limit;
    while (!condition()) {
        if (Clock::now() > deadline) return false;
        std::this_thread::sleep_for(std::chrono::milliseconds(5));
    }
    return true;
}

} // namespace quorvel::test
