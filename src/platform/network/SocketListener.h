#pragma once

#include "platform/Descriptor.h"
#include "platform/network/Listener.h"
#include "platform/network/Loop.h"

#include <asio/steady_timer.hpp>
#include <cstdint>
#include <memory>
#include <mutex>

namespace quorvel::platform {

/// The handlers of a listener, which are dropped as a whole by its cancellation.
struct ListenerHandlers {
    Listener::FailureHandler failure;
    Listener::ConnectionHandler connection;
};

class SocketListener final : public Listener, public std::enable_shared_from_this<SocketListener> {
  public:
    SocketListener(Descriptor socket, int family, std::uint16_t port);
    ~SocketListener() override;

    void onFailure(FailureHandler handler) override;
    void onConnection(ConnectionHandler handler) override;
    Result<std::uint16_t> listen() override;
    void accept(WorkQueue& queue) override;
    void cancel() override;

    /// Null after `cancel`.
    std::shared_ptr<const ListenerHandlers> handlers() const;
    int socket() const { return socket_.number(); }
    void reportFailure(int code) const;

  private:
    void acceptOn(const std::shared_ptr<Loop>& loop);

    Descriptor socket_;
    const int family_;
    const std::uint16_t requestedPort_;
    mutable std::mutex mutex_;
    std::shared_ptr<ListenerHandlers> handlers_;
    /// A loop watches the socket. Guarded by the mutex.
    bool isWatched_ = false;
};

/// Accepts a listener's clients and keeps them on its loop.
class Acceptor final : public LoopMember, public std::enable_shared_from_this<Acceptor> {
  public:
    Acceptor(std::shared_ptr<SocketListener> listener, std::shared_ptr<Loop> loop);
    ~Acceptor() override;

    void wait();
    void closeWithLoop() override;

  private:
    enum class Outcome { accepted, nobodyWaits, cannotAccept, ended };

    void acceptWaiting();
    Outcome acceptOne();
    void pause();
    void close();

    std::shared_ptr<SocketListener> listener_;
    std::shared_ptr<Loop> loop_;
    WatchedDescriptor watch_;
    asio::steady_timer timer_;
};

} // namespace quorvel::platform
