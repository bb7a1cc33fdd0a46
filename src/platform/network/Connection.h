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

/// What one receive brought. The bytes stay valid until the callback returns or makes a call on
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
/// call is made there and every callback runs there, later than the call that asked for it.
/// Releasing the last reference of an idle connection closes it.
class Connection {
  public:
    using ReceiveHandler = std::move_only_function<void(const Received&)>;
    using SendHandler = std::move_only_function<void(std::error_code)>;
    /// The error of the network, if any, and the bytes of the file that were sent. Fewer than
    /// asked for without an error: the file ended early or could not be read.
    using FileHandler = std::move_only_function<void(std::error_code, std::size_t)>;
    /// The connection ended: with the error it failed with, or none when it was cancelled.
    using EndHandler = std::move_only_function<void(std::error_code)>;

    Connection() = default;
    virtual ~Connection() = default;
    Connection(const Connection&) = delete;
    Connection& operator=(const Connection&) = delete;

    /// Called once, after the last send and receive callback. Every handler is dropped then, so
    /// that a handler may own what owns the connection.
    virtual void onEnd(EndHandler handler) = 0;

    /// Asks for 1 to `maximum` bytes. One receive at a time.
    virtual void receive(std::size_t maximum, ReceiveHandler handler) = 0;

    /// Sends go out in the order of their calls; the callback says that the network took all of
    /// it. An empty callback means that nobody asks.
    virtual void send(std::string bytes, SendHandler handler = {},
                      MoreToSend more = MoreToSend::no) = 0;
    /// Sends `count` bytes of the file from the page cache (sendfile(2)).
    virtual void sendFile(std::shared_ptr<const OpenFile> file, std::int64_t offset,
                          std::size_t count, FileHandler handler,
                          MoreToSend more = MoreToSend::no) = 0;

    /// Bytes given to `send` that the network has not taken yet.
    virtual std::size_t bytesWaiting() const = 0;

    /// Closes the connection. What was sent still arrives, also while the peer is sending: then,
    /// or when input is expected, the rest of its input is drained within bounds before the
    /// close, because closing over unread input resets the connection (RFC 1122, 4.2.2.13).
    /// Pending callbacks report ECANCELED.
    virtual void cancel(PeerInput input = PeerInput::done) = 0;

    /// The address the client reached, when it is an IPv4 one (::ffff:a.b.c.d is).
    virtual std::optional<std::string> localIPv4Address() const = 0;
};

} // namespace quorvel::platform
