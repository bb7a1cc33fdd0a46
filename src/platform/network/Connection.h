#pragma once

#include "platform/files/OpenFile.h"

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <system_error>

namespace quorvel::platform {

/// The result of one receive. The bytes are valid until the callback returns or makes a call on
/// a connection, whichever comes first.
struct Received {
    std::string_view bytes;
    bool endOfStream = false;
    std::error_code error;
};

/// Whether bytes of the peer may still be on their way when a connection is cancelled.
enum class PeerInput { expected, done };

/// Whether the next send follows at once, so that the network may wait for it to fill a segment.
enum class MoreToSend { no, yes };

/// One accepted TCP connection. It belongs to the thread of the queue that accepted it: every
/// call must be made there, and every callback runs there, after the call that asked for it has
/// returned. Releasing the last reference of an idle connection closes it.
///
/// When a connection ends (it failed, was cancelled, or its queue was released), it drops its
/// callbacks: a callback may therefore own the object that owns the connection.
class Connection {
  public:
    using ReceiveHandler = std::move_only_function<void(const Received&)>;
    using SendHandler = std::move_only_function<void(std::error_code)>;
    /// The network's error, if any, and the number of bytes sent. Fewer than asked for without
    /// an error means that the file ended early or could not be read.
    using FileHandler = std::move_only_function<void(std::error_code, std::size_t)>;

    Connection() = default;
    virtual ~Connection() = default;
    Connection(const Connection&) = delete;
    Connection& operator=(const Connection&) = delete;

    /// Asks for 1 to `maximum` bytes. Only one receive may be pending.
    virtual void receive(std::size_t maximum, ReceiveHandler handler) = 0;

    /// Sends leave in the order of the calls. The callback, which may be empty, runs once the
    /// network has taken every byte.
    virtual void send(std::string bytes, SendHandler handler = {},
                      MoreToSend more = MoreToSend::no) = 0;
    /// Sends `count` bytes of the file (sendfile(2)): from the page cache as far as it has them,
    /// else on a thread of the queue's pool.
    virtual void sendFile(std::shared_ptr<const OpenFile> file, std::int64_t offset,
                          std::size_t count, FileHandler handler,
                          MoreToSend more = MoreToSend::no) = 0;

    /// Bytes given to `send` that the network has not taken yet.
    virtual std::size_t bytesWaiting() const = 0;

    /// Closes the connection. Pending callbacks report ECANCELED; what the network has taken still
    /// arrives, even if the peer is sending: its input is then drained within bounds before the
    /// close, because closing over unread input resets the connection (RFC 1122, 4.2.2.13).
    /// With `PeerInput::expected` the close drains even if nothing has arrived yet.
    virtual void cancel(PeerInput input = PeerInput::done) = 0;

    /// The client's address, to tell clients apart; empty if it has left.
    virtual std::string peerAddress() const = 0;

    /// The local address that the client connected to, if it is an IPv4 one (::ffff:a.b.c.d is).
    virtual std::optional<std::string> localIPv4Address() const = 0;
};

} // namespace quorvel::platform
