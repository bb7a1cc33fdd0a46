#include "platform/files/OpenRoot.h"
#include "platform/network/SocketListener.h"
#include "platform/network/StreamConnection.h"

#include <chrono>
#include <sys/socket.h>

namespace quorvel::platform {

namespace {

// Clients accepted in one turn, before the open connections get theirs.
constexpr int acceptsPerTurn = 16;

// How long accepting pauses when descriptors or memory have run out; waiting clients stay in the
// kernel's queue meanwhile.
constexpr std::chrono::milliseconds pauseTime{50};

// How long a client may wait for the leading thread before the next thread looks for it; the others
// look after two and three times as long. A new client wakes all of them, and if each one tried to
// accept it at once, that would cost more than serving it.
constexpr std::chrono::milliseconds restTime{4};

bool outOfResources(int code) {
    return code == EMFILE || code == ENFILE || code == ENOBUFS || code == ENOMEM;
}

// Errors that end the listener itself; all others belong to one client (accept(2)).
bool endsListener(int code) {
    return code == EBADF || code == EINVAL || code == ENOTSOCK || code == EOPNOTSUPP;
}

} // namespace

Acceptor::Acceptor(std::shared_ptr<SocketListener> listener, std::shared_ptr<Loop> loop, int rank)
    : listener_(std::move(listener)), loop_(std::move(loop)), watch_(loop_->context()),
      timer_(loop_->context()), rank_(rank) {
    loop_->join(*this);
}

Acceptor::~Acceptor() {
    if (watch_.is_open()) watch_.release();
    if (loop_) loop_->leave(*this);
}

void Acceptor::wait() {
    asio::error_code error;
    if (!watch_.is_open()) watch_.assign(listener_->socket(), error);
    if (error) {
        listener_->reportFailure(error.value());
        return close();
    }
    watch_.async_wait(WatchedDescriptor::wait_read,
                      [self = shared_from_this()](const asio::error_code& cancelled) {
                          if (!cancelled && self->loop_) self->clientWaits();
                      });
}

void Acceptor::clientWaits() {
    if (isNeeded_ || listener_->isLeadBy(*this)) return acceptWaiting();
    watch_.release();
    timer_.expires_after(restTime * rank_);
    timer_.async_wait([self = shared_from_this()](const asio::error_code& cancelled) {
        if (!cancelled && self->loop_) self->acceptWaiting();
    });
}

void Acceptor::acceptWaiting() {
    const RootHold hold;
    isNeeded_ = false;
    for (int i = 0; i < acceptsPerTurn; ++i) {
        const auto handlers = listener_->handlers();
        if (!handlers) return close();
        if (!acceptOne(*handlers)) break;
        // The leader left this client waiting: a slow disk may be holding it.
        listener_->takeLead(*this);
        isNeeded_ = i + 1 == acceptsPerTurn;
    }
    if (!loop_) return;
    if (paused_) return pause();
    wait();
}

// False when no client is waiting or none can be taken now.
bool Acceptor::acceptOne(const ListenerHandlers& handlers) {
    Descriptor socket(accept4(listener_->socket(), nullptr, nullptr, SOCK_NONBLOCK | SOCK_CLOEXEC));
    if (!socket) {
        const int code = errno;
        paused_ = outOfResources(code);
        if (endsListener(code)) {
            // A cancelled listener ends here too; it has dropped its handlers.
            listener_->reportFailure(code);
            close();
        }
        return !paused_ && code != EAGAIN && !endsListener(code);
    }
    const auto connection = std::make_shared<StreamConnection>(std::move(socket), loop_);
    handlers.connection(connection);
    // The request is usually there already: read it before the socket is registered anywhere.
    connection->drive();
    return true;
}

void Acceptor::pause() {
    paused_ = false;
    timer_.expires_after(pauseTime);
    timer_.async_wait([self = shared_from_this()](const asio::error_code& cancelled) {
        if (!cancelled && self->loop_) self->acceptWaiting();
    });
}

void Acceptor::close() {
    if (!loop_) return;
    loop_->leave(*this);
    closeWithLoop();
}

void Acceptor::closeWithLoop() {
    const auto self = shared_from_this();
    if (watch_.is_open()) watch_.release();
    timer_.cancel();
    listener_.reset();
    loop_.reset();
}

} // namespace quorvel::platform
