#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string_view>

namespace quorvel::bench {

/// A non-blocking TCP connection to a port of 127.0.0.1. Network errors throw
/// std::system_error.
class Socket {
  public:
    Socket() = default;
    /// Returns while the connection may still be in progress.
    explicit Socket(std::uint16_t port);
    Socket(Socket&& other) noexcept;
    Socket& operator=(Socket&& other) noexcept;
    ~Socket() { close(); }

    explicit operator bool() const { return number_ >= 0; }
    int number() const { return number_; }

    /// Sends all of the text; returns false if the connection is not ready yet.
    bool send(std::string_view text);

    /// The outcome of one receive.
    struct Input {
        std::size_t bytes = 0;
        bool ended = false;
        /// Nothing more is waiting.
        bool drained = false;
    };
    Input receive(std::span<char> into);
    /// The same without copying the bytes, so that the driver is not the bottleneck (MSG_TRUNC in
    /// tcp(7)).
    Input discard();

    void close();
    /// Closes without leaving a port in TIME_WAIT, on either side.
    void closeWithReset();

  private:
    Input take(char* into, std::size_t size, int flags);

    int number_ = -1;
};

} // namespace quorvel::bench
