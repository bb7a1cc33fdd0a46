#include "platform/files/TurnHold.h"
#include "platform/network/SocketListener.h"
#include "platform/network/StreamConnection.h"

#include <cerrno>
#include <chrono>
#include <memory>
#include <new>
#include <sys/socket.h>
#include <utility>

namespace quorvel::platform {

namespace {

// Clients accepted in one turn, before the open connections get theirs.
constexpr int acceptsPerTurn = 16;

// How long accepting pauses after other errors, as when descriptors or memory have run out; waiting
// clients stay in the kernel's queue meanwhile.
constexpr std::chrono::milliseconds pauseTime{50};

// Errors that end the listener itself (accept(2)).
bool endsListener(int code) {
    return code == EBADF || code == EINVAL || code == ENOTSOCK || code == EOPNOTSUPP;
}

} // namespace

Acceptor::Acceptor(std::shared_ptr<SocketListener> listener, std::shared_ptr<Loop> loop)
    : listener_(std::move(listener)), loop_(std::move(loop)), watch_(loop_->context()),
      timer_(loop_->context()) {
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
                          if (!cancelled && self->loop_) self->acceptWaiting();
                      });
}

void Acceptor::acceptWaiting() {
    const TurnHold hold;
    Outcome outcome = Outcome::accepted;
    for (int i = 0; i < acceptsPerTurn && outcome == Outcome::accepted; ++i)
        outcome = acceptOne();
    if (outcome == Outcome::ended) return close();
    try {
        outcome == Outcome::cannotAccept ? pause() : wait();
    } catch (const std::bad_alloc&) {
        listener_->reportFailure(ENOMEM);
        close();
    }
}

Acceptor::Outcome Acceptor::acceptOne() {
    const auto handlers = listener_->handlers();
    if (!handlers) return Outcome::ended;
    Descriptor socket(accept4(listener_->socket(), nullptr, nullptr, SOCK_NONBLOCK | SOCK_CLOEXEC));
    if (!socket) {
        const int code = errno;
        if (code == EAGAIN) return Outcome::nobodyWaits;
        // The client has given up; the next one may be there.
        if (code == ECONNABORTED || code == EINTR) return Outcome::accepted;
        if (!endsListener(code)) return Outcome::cannotAccept;
        // A cancelled listener ends here too; it has dropped its handlers.
        listener_->reportFailure(code);
        return Outcome::ended;
    }
    try {
        const auto connection = std::make_shared<StreamConnection>(std::move(socket), loop_);
        handlers->connection(connection);
        // The request is usually there already: read it before the socket is registered anywhere.
        connection->drive();
    } catch (const std::bad_alloc&) {
        return Outcome::cannotAccept;
    }
    return Outcome::accepted;
}

void Acceptor::pause() {
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
