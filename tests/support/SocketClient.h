#pragma once

#include "support/TCPEnd.h"

#include "platform/Descriptor.h"

#include <arpa/inet.h>
#include <array>
#include <chrono>
#include <gtest/gtest.h>
#include <linux/sockios.h>
#include <netinet/in.h>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <thread>

namespace quorvel::test {

/// Bounds every wait. Long enough for any machine: only a test that fails waits for it.
constexpr std::chrono::seconds patience{60};

/// Polls until the condition holds; returns false if it does not.
template <class Condition>
bool eventually(Condition condition) {
    const auto deadline = std::chrono::steady_clock::now() + patience;
    while (!condition()) {
        if (std::chrono::steady_clock::now() > deadline) return false;
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    return true;
}

/// A blocking client that sees the bytes on the wire. Every wait is bounded.
class SocketClient {
  public:
    /// Connects to the address; failure is a failed assertion.
    explicit SocketClient(std::uint16_t port, const std::string& address = "127.0.0.1") {
        sockaddr_in6 target{AF_INET6, htons(port), 0, {}, 0};
        const std::string mapped = (address.contains(':') ? "" : "::ffff:") + address;
        EXPECT_EQ(inet_pton(AF_INET6, mapped.c_str(), &target.sin6_addr), 1);
        socket_.reset(socket(AF_INET6, SOCK_STREAM | SOCK_CLOEXEC, 0));
        EXPECT_EQ(connect(descriptor(), reinterpret_cast<sockaddr*>(&target), sizeof target), 0)
            << address << " port " << port << ": errno " << errno;
        const timeval longest{patience.count(), 0};
        setsockopt(descriptor(), SOL_SOCKET, SO_RCVTIMEO, &longest, sizeof longest);
    }

    /// Sends all of it; returns false if the server has closed the connection.
    bool send(std::string_view bytes) const {
        return ::send(descriptor(), bytes.data(), bytes.size(), MSG_NOSIGNAL) == std::ssize(bytes);
    }
    /// Bounds the receive buffer; a window announced earlier stays open.
    void limitBuffer(int bytes) const {
        setsockopt(descriptor(), SOL_SOCKET, SO_RCVBUF, &bytes, sizeof bytes);
    }
    void finishSending() const { shutdown(descriptor(), SHUT_WR); }

    /// How many of the bytes sent the server has not read yet.
    std::size_t untaken() const {
        int unacknowledged = 0;
        ioctl(descriptor(), SIOCOUTQ, &unacknowledged);
        return static_cast<std::size_t>(unacknowledged) + serverEnd().idiag_rqueue;
    }
    /// Waits until the server has read everything sent, which it may still be handling.
    void waitUntilTaken() const {
        EXPECT_TRUE(eventually([&] { return untaken() == 0; }));
    }
    /// Waits until the server has closed its sending side; its kernel may still be sending.
    void waitUntilFinished() const {
        EXPECT_TRUE(eventually([&] { return serverEnd().idiag_state != TCP_ESTABLISHED; }));
    }

    /// Returns all bytes up to the end of the stream; `wasReset` tells how it ended.
    std::string receiveAll() {
        while (receiveMore()) {
        }
        EXPECT_TRUE(hasEnded_) << "the server did not close the connection";
        return std::exchange(buffer_, {});
    }
    /// Returns the bytes up to and including the first `mark`, or everything received if the stream
    /// ends or the time runs out without it.
    std::string receiveUntil(std::string_view mark) {
        while (!buffer_.contains(mark))
            if (!receiveMore()) return std::exchange(buffer_, {});
        const std::string result = buffer_.substr(0, buffer_.find(mark) + mark.size());
        buffer_.erase(0, result.size());
        return result;
    }

    bool wasReset() const { return wasReset_; }
    void close() { socket_.reset(); }
    int descriptor() const { return socket_.number(); }

  private:
    inet_diag_msg serverEnd() const { return tcpEnd(address(getpeername), address(getsockname)); }

    sockaddr_in6 address(int (*getName)(int, sockaddr*, socklen_t*)) const {
        sockaddr_in6 result{};
        socklen_t length = sizeof result;
        getName(descriptor(), reinterpret_cast<sockaddr*>(&result), &length);
        return result;
    }

    bool receiveMore() {
        std::array<char, 65536> bytes;
        const ssize_t count = recv(descriptor(), bytes.data(), bytes.size(), 0);
        wasReset_ = count < 0 && errno != EAGAIN;
        hasEnded_ = count == 0 || wasReset_;
        if (count > 0) buffer_.append(bytes.data(), static_cast<std::size_t>(count));
        return count > 0;
    }

    platform::Descriptor socket_;
    std::string buffer_;
    bool hasEnded_ = false;
    bool wasReset_ = false;
};

} // namespace quorvel::test
