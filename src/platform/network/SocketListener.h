#pragma once

#include "platform/Descriptor.h"
#include "platform/network/Listener.h"
#include "platform/network/Loop.h"

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

class Acceptor;

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

    /// One acceptor leads: it takes clients at once. The others look after a rest, and one that
    /// then finds a client leads from there.
    bool isLeadBy(const Acceptor& acceptor) const { return leader_ == &acceptor; }
    void takeLead(const Acceptor& acceptor) { leader_ = &acceptor; }

  private:
    std::error_code bindAndListen() const;
    void acceptOn(const std::shared_ptr<Loop>& loop);

    Descriptor socket_;
    const int family_;
    const std::uint16_t requestedPort_;
    std::uint16_t boundPort_ = 0;
    std::atomic<bool> ready_ = false;
    std::atomic<const Acceptor*> leader_ = nullptr;
    mutable std::mutex mutex_;
    std::shared_ptr<ListenerHandlers> handlers_;
    /// How many loops have taken the socket up; guarded by the mutex.
    int acceptors_ = 0;
};

/// One thread's share in a listener: takes clients as they come and keeps them on its loop.
class Acceptor final : public LoopMember, public std::enable_shared_from_this<Acceptor> {
  public:
    /// The rank, from 1, tells how soon it takes what the leader leaves waiting.
    Acceptor(std::shared_ptr<SocketListener> listener, std::shared_ptr<Loop> loop, int rank);
    ~Acceptor() override;

    void wait();
    void closeWithLoop() override;

  private:
    void clientWaits();
    void acceptWaiting();
    bool acceptOne(const ListenerHandlers& handlers);
    void pause();
    void close();

    std::shared_ptr<SocketListener> listener_;
    std::shared_ptr<Loop> loop_;
    WatchedDescriptor watch_;
    asio::steady_timer timer_;
    const int rank_;
    bool paused_ = false;
    /// The last turn left clients waiting: no rest before the next.
    bool isNeeded_ = false;
};

} // namespace quorvel::platform
