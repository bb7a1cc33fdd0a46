#pragma once

#include <chrono>
#include <cstdint>
#include <string>
#include <string_view>

namespace quorvel::test {

/// A client that blocks, for looking at the bytes on the wire. Every wait is bounded.
class SocketClient {
  public:
    /// Connects to the address ("127.0.0.1" or "::1"); a test assertion tells when it fails.
    explicit SocketClient(std::uint16_t port, const std::string& address = "127.0.0.1");
    ~SocketClient();
    SocketClient(SocketClient&& other) noexcept;
    SocketClient& operator=(SocketClient&& other) = delete;

    /// Sends all of it; false when the server has closed.
    bool send(std::string_view bytes) const;
    void finishSending() const;

    /// All bytes up to the end of the stream. `wasReset` tells how it ended.
    std::string receiveAll(std::chrono::milliseconds limit = std::chrono::seconds(20));
    /// Bytes up to and including the first occurrence of `mark`; what came until the limit
    /// when it never comes.
    std::string receiveUntil(std::string_view mark,
                             std::chrono::milliseconds limit = std::chrono::seconds(20));
    std::string receiveExactly(std::size_t count,
                               std::chrono::milliseconds limit = std::chrono::seconds(20));
    /// Whatever comes within the time, for "no reply".
    std::string receiveFor(std::chrono::milliseconds time);

    bool wasReset() const { return wasReset_; }
    /// A small receive buffer, for a client that reads slowly.
    void shrinkReceiveBuffer() const;
    void close();
    int descriptor() const { return descriptor_; }

  private:
    enum class Outcome { bytes, end, timeout };
    Outcome receiveMore(std::chrono::steady_clock::time_point deadline);
    std::string take(std::size_t count);

    int descriptor_ = -1;
    std::string buffer_;
    bool wasReset_ = false;
};

/// A port on which nothing listens at the moment.
std::uint16_t freePort();

/// The number of open descriptors and of threads of this process.
std::size_t openDescriptorCount();
std::size_t threadCount();

void sleepFor(std::chrono::milliseconds time);

/// Asks until the condition holds; false after the limit.
template <class Condition>
bool eventually(Condition condition, std::chrono::milliseconds limit = std::chrono::seconds(10)) {
    const auto deadline = std::chrono::steady_clock::now() + limit;
    while (!condition()) {
        if (std::chrono::steady_clock::now() > deadline) return false;
        sleepFor(std::chrono::milliseconds(5));
    }
    return true;
}

} // namespace quorvel::test
