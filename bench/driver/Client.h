#pragma once

#include <chrono>
#include <cstdint>
#include <string>
#include <string_view>

namespace quorvel::bench {

using Clock = std::chrono::steady_clock;

/// A blocking TCP connection to a port of 127.0.0.1. Every failure throws, a silence of 20 seconds
/// too.
class Client {
  public:
    explicit Client(std::uint16_t port);
    Client(Client&& other) noexcept;
    Client& operator=(Client&&) = delete;
    ~Client();

    void send(std::string_view text) const;

    /// Returns what came up to the mark and the mark; throws at the end of the stream.
    std::string until(std::string_view mark);

    /// Discards what comes until the end of the stream or the time; returns how many bytes.
    std::uint64_t discard(Clock::time_point end);

    /// Makes the close leave no port in TIME_WAIT, on either side.
    void resetOnClose() const;

  private:
    int socket_;
    std::string input_;
};

} // namespace quorvel::bench
