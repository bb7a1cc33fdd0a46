#pragma once

#include "platform/Descriptor.h"
#include "platform/Listener.h"
#include "platform/Loop.h"

#include <asio/steady_timer.hpp>
#include <atomic>
#include <mutex>

namespace quorvel::platform {

/// Where a listener's handlers stand until it is cancelled.
class ListenerHandlers {
  public:
    Listener::StateHandler state;
    Listener::ConnectionHandler connection;
};

class SocketListener final : public Listener, public std::enable_shared_from_this<SocketListener> {
  public:
    explicit SocketListener(Descriptor socket, int family, std::uint16_t port);
    ~SocketListener() override;

    void onState(StateHandler handler) override;
    void onConnection(ConnectionHandler handler) override;
    void start(WorkQueue& queue) override;
    std::optional<std::uint16_t> port() const override;
    void cancel() override;

    /// The handlers as they stand; none after `cancel`.
    std::shared_ptr<const ListenerHandlers> handlers() const;
    int socket() const { return socket_.number(); }
    void reportState(State state, std::error_code error = {}) const;

  private:
    std::error_code bindAndListen() const;
    void acceptOn(const std::shared_ptr<Loop>& loop);

    Descriptor socket_;
    const int family_;
    const std::uint16_t requestedPort_;
    std::uint16_t boundPort_ = 0;
    std::atomic<bool> ready_ = false;
    mutable std::mutex mutex_;
    std::shared_ptr<ListenerHandlers> handlers_;
    /// Whether a loop has taken the socket up; guarded by the mutex.
    bool isWatched_ = false;
};

/// One thread's share in a listener: takes clients as they come and keeps them on its loop.
class Acceptor final : public LoopMember, public std::enable_shared_from_this<Acceptor> {
  public:
    Acceptor(std::shared_ptr<SocketListener> listener, std::shared_ptr<Loop> loop);
    ~Acceptor() override;

    void start();
    void closeWithLoop() override;

  private:
    void wait();
    void acceptWaiting();
    bool acceptOne(const ListenerHandlers& handlers);
    void pause();
    void close();

    std::shared_ptr<SocketListener> listener_;
    std::shared_ptr<Loop> loop_;
    WatchedDescriptor watch_;
    asio::steady_timer pause_;
    bool paused_ = false;
};

} // namespace quorvel::platform
