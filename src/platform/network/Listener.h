#pragma once

#include "platform/Result.h"
#include "platform/network/Connection.h"
#include "platform/network/WorkQueue.h"

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>

namespace quorvel::platform {

/// A TCP listener on all local addresses, IPv4 and IPv6 alike (IPv4 alone where the kernel has
/// no IPv6), with address reuse, so that a port left in a closing state is free at once.
class Listener {
  public:
    enum class State { setup, waiting, ready, failed, cancelled };

    /// Runs on the queue, with the error of `failed` and `waiting`.
    using StateHandler = std::function<void(State, std::error_code)>;
    /// Runs on the queue, on several threads at once where it is concurrent. A connection that
    /// the handler does not keep is closed.
    using ConnectionHandler = std::function<void(std::shared_ptr<Connection>)>;

    /// Port 0 lets the system choose. Fails when the process is out of descriptors.
    static Result<std::shared_ptr<Listener>> create(std::uint16_t port);

    Listener() = default;
    virtual ~Listener() = default;
    Listener(const Listener&) = delete;
    Listener& operator=(const Listener&) = delete;

    /// Both before `start`.
    virtual void onState(StateHandler handler) = 0;
    virtual void onConnection(ConnectionHandler handler) = 0;

    /// Binds and listens now, on the calling thread; the outcome arrives as a state. While the
    /// process is out of descriptors, accepting pauses and goes on by itself.
    virtual void start(WorkQueue& queue) = 0;

    /// The bound port; none before it is ready.
    virtual std::optional<std::uint16_t> port() const = 0;

    /// Stops listening before it returns: the port is free, waiting clients are reset. Any
    /// thread. The handlers are dropped.
    virtual void cancel() = 0;
};

} // namespace quorvel::platform
