#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string_view>

namespace quorvel::bench {

/// A non-blocking TCP connection to a port of 127.0.0.1. Errors of the network are thrown as
/// std::system_error.
class Socket {
  public:
    Socket() = default;
    /// The connection may still be coming about afterwards.
    explicit Socket(std::uint16_t port);
    Socket(Socket&& other) noexcept;
    Socket& operator=(Socket&& other) noexcept;
    ~Socket() { close(); }

    explicit operator bool() const { return number_ >= 0; }
    int number() const { return number_; }

    /// False when the connection is not ready yet; otherwise all of the text was sent.
    bool send(std::string_view text);

    /// What one receive brought.
    struct Input {
        std::size_t bytes = 0;
        bool ended = false;
        /// Nothing more had arrived.
        bool drained = false;
    };
    Input receive(std::span<char> into);
    /// The same without looking at the bytes, so that the driver is no bottleneck (MSG_TRUNC in
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
