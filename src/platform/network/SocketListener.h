#pragma once

#include "platform/Descriptor.h"
#include "platform/network/Listener.h"
#include "platform/network/Loop.h"

#include <asio/steady_timer.hpp>
#include <atomic>
#include <mutex>

namespace quorvel::platform {

/// The handlers of a listener, which are dropped as a whole by its cancellation.
struct ListenerHandlers {
    Listener::FailureHandler failure;
    Listener::ConnectionHandler connection;
};

class Acceptor;

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

    /// One acceptor leads: it takes clients at once. The others look later, and one that still
    /// finds a client takes the lead.
    bool isLeadBy(const Acceptor& acceptor) const { return leader_ == &acceptor; }
    void takeLead(const Acceptor& acceptor) { leader_ = &acceptor; }

  private:
    void acceptOn(const std::shared_ptr<Loop>& loop);

    Descriptor socket_;
    const int family_;
    const std::uint16_t requestedPort_;
    std::atomic<const Acceptor*> leader_ = nullptr;
    mutable std::mutex mutex_;
    std::shared_ptr<ListenerHandlers> handlers_;
    /// The number of loops that watch the socket. Guarded by the mutex.
    int acceptors_ = 0;
};

/// Accepts a listener's clients on one thread and keeps them on its loop.
class Acceptor final : public LoopMember, public std::enable_shared_from_this<Acceptor> {
  public:
    /// The rank counts from 1; the higher it is, the later the acceptor looks for clients that the
    /// leader has left waiting.
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
    /// The last turn left clients waiting, so that the next one follows at once.
    bool isNeeded_ = false;
};

} // namespace quorvel::platform
