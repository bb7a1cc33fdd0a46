#pragma once

#include "platform/Descriptor.h"

#include <chrono>
#include <cstdint>
#include <string>
#include <string_view>
#include <thread>

namespace quorvel::test {

/// A client that blocks, for looking at the bytes on the wire. Every wait is bounded.
class SocketClient {
  public:
    /// Connects to the address; a test assertion tells when it fails.
    explicit SocketClient(std::uint16_t port, const std::string& address = "127.0.0.1");

    /// Sends all of it; false when the server has closed.
    bool send(std::string_view bytes) const;
    void finishSending() const;

    /// All bytes up to the end of the stream. `wasReset` tells how it ended.
    std::string receiveAll();
    /// Bytes up to and including the first occurrence of `mark`; what came until the end or the
    /// limit when it never comes.
    std::string receiveUntil(std::string_view mark);

    bool wasReset() const { return wasReset_; }
    void close() { socket_.reset(); }
    int descriptor() const { return socket_.number(); }

  private:
    bool receiveMore(std::chrono::steady_clock::time_point deadline);

    platform::Descriptor socket_;
    std::string buffer_;
    bool hasEnded_ = false;
    bool wasReset_ = false;
};

/// A port on which nothing listens at the moment.
std::uint16_t freePort();

inline void sleepFor(std::chrono::milliseconds time) {
    std::this_thread::sleep_for(time);
}

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
