#pragma once

#include "platform/Result.h"
#include "platform/network/Connection.h"
#include "platform/network/WorkQueue.h"

#include <cstdint>
#include <functional>
#include <memory>
#include <system_error>

namespace quorvel::platform {

/// A TCP listener on all local addresses, IPv4 and IPv6 alike (IPv4 alone where the kernel has
/// no IPv6), with address reuse, so that a port left in a closing state is free at once.
class Listener {
  public:
    /// Runs on the queue when the listener can accept no further connection.
    using FailureHandler = std::function<void(std::error_code)>;
    /// Runs on the queue. A connection that the handler does not keep is closed.
    using ConnectionHandler = std::function<void(std::shared_ptr<Connection>)>;

    /// Port 0 lets the system choose. Fails when the process is out of descriptors.
    static Result<std::shared_ptr<Listener>> create(std::uint16_t port);

    Listener() = default;
    virtual ~Listener() = default;
    Listener(const Listener&) = delete;
    Listener& operator=(const Listener&) = delete;

    /// Both are to be set before `accept`.
    virtual void onFailure(FailureHandler handler) = 0;
    virtual void onConnection(ConnectionHandler handler) = 0;

    /// Binds and listens (bind(2), listen(2)); returns the port. Clients can connect from then on.
    virtual Result<std::uint16_t> listen() = 0;
    /// Accepts connections on the queue. While the process is out of descriptors, accepting pauses
    /// and then resumes by itself.
    virtual void accept(WorkQueue& queue) = 0;

    /// Stops listening before it returns: the port is free, waiting clients are reset, and the
    /// handlers are dropped. Thread-safe.
    virtual void cancel() = 0;
};

} // namespace quorvel::platform
