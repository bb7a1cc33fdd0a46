#include "platform/network/SocketListener.h"

#include "platform/network/StreamConnection.h"

#include <asm-generic/socket.h>
#include <cerrno>
#include <cstdint>
#include <memory>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <sys/socket.h>
#include <system_error>
#include <unistd.h>
#include <utility>

namespace quorvel::platform {

namespace {

// The bytes that the kernel may hold unsent for one connection. Without a bound a stalled reader
// pins megabytes of kernel memory (tcp(7), TCP_NOTSENT_LOWAT). Short queues are also faster: bytes
// that wait long have left the processor's cache when they are sent.
constexpr int unsentLimit = 64 << 10;

// The kernel asks a silent client after two minutes, and gives it up a minute later. In seconds.
constexpr int keepaliveIdle = 120;
constexpr int keepaliveInterval = 15;
constexpr int keepaliveProbes = 4;

void setOption(int socket, int level, int option, int value) {
    setsockopt(socket, level, option, &value, sizeof value);
}

socklen_t anyAddress(int family, std::uint16_t port, sockaddr_storage& address) {
    address = {};
    address.ss_family = static_cast<sa_family_t>(family);
    // The port has the same offset in both structures.
    reinterpret_cast<sockaddr_in&>(address).sin_port = htons(port);
    return family == AF_INET6 ? sizeof(sockaddr_in6) : sizeof(sockaddr_in);
}

} // namespace

Result<std::shared_ptr<Listener>> Listener::create(std::uint16_t port) {
    constexpr int type = SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC;
    int family = AF_INET6;
    Descriptor socket(::socket(family, type, 0));
    if (!socket && errno == EAFNOSUPPORT) {
        family = AF_INET;
        socket = Descriptor(::socket(family, type, 0));
    }
    if (!socket) return failure();
    if (family == AF_INET6) setOption(socket.number(), IPPROTO_IPV6, IPV6_V6ONLY, 0);
    setOption(socket.number(), SOL_SOCKET, SO_REUSEADDR, 1);
    // Accepted sockets inherit these options, which saves the calls for each.
    setOption(socket.number(), IPPROTO_TCP, TCP_NODELAY, 1);
    setOption(socket.number(), IPPROTO_TCP, TCP_NOTSENT_LOWAT, unsentLimit);
    // Else a client that vanishes would stay for ever (tcp(7)).
    setOption(socket.number(), SOL_SOCKET, SO_KEEPALIVE, 1);
    setOption(socket.number(), IPPROTO_TCP, TCP_KEEPIDLE, keepaliveIdle);
    setOption(socket.number(), IPPROTO_TCP, TCP_KEEPINTVL, keepaliveInterval);
    setOption(socket.number(), IPPROTO_TCP, TCP_KEEPCNT, keepaliveProbes);
    // FTP clients send ABOR as urgent data, whose last byte would otherwise be lost (RFC 6093).
    setOption(socket.number(), SOL_SOCKET, SO_OOBINLINE, 1);
    return std::make_shared<SocketListener>(std::move(socket), family, port);
}

SocketListener::SocketListener(Descriptor socket, int family, std::uint16_t port)
    : socket_(std::move(socket)), family_(family), requestedPort_(port),
      handlers_(std::make_shared<ListenerHandlers>()) {}

SocketListener::~SocketListener() = default;

void SocketListener::onFailure(FailureHandler handler) {
    handlers_->failure = std::move(handler);
}

void SocketListener::onConnection(ConnectionHandler handler) {
    handlers_->connection = std::move(handler);
}

Result<std::uint16_t> SocketListener::listen() {
    sockaddr_storage address;
    socklen_t length = anyAddress(family_, requestedPort_, address);
    auto* const name = reinterpret_cast<sockaddr*>(&address);
    if (bind(socket_.number(), name, length) != 0 || ::listen(socket_.number(), SOMAXCONN) != 0 ||
        getsockname(socket_.number(), name, &length) != 0)
        return failure();
    return ntohs(reinterpret_cast<sockaddr_in&>(address).sin_port);
}

void SocketListener::accept(WorkQueue& queue) {
    // Weakly, because a task that is never run must not keep its own loop alive.
    queue.loop_->post([self = shared_from_this(), weakLoop = std::weak_ptr(queue.loop_)] {
        if (const auto loop = weakLoop.lock()) self->acceptOn(loop);
    });
}

void SocketListener::acceptOn(const std::shared_ptr<Loop>& loop) {
    {
        const std::lock_guard lock(mutex_);
        if (!handlers_) return;
        isWatched_ = true;
    }
    try {
        std::make_shared<Acceptor>(shared_from_this(), loop)->wait();
    } catch (const std::system_error& error) {
        // The first watch on a loop opens descriptors of the loop's own, and none may be left.
        reportFailure(error.code().value());
    }
}

void SocketListener::cancel() {
    {
        const std::lock_guard lock(mutex_);
        if (!handlers_) return;
        handlers_.reset();
        // At once, because a client that asks for one data port after the other must not hold a
        // descriptor for each until the loop has come round.
        if (!isWatched_) return socket_.reset();
    }
    // The loop closes the socket. shutdown(2) stops the listening now, frees the port for a new
    // bind, and wakes the loop.
    shutdown(socket_.number(), SHUT_RDWR);
}

std::shared_ptr<const ListenerHandlers> SocketListener::handlers() const {
    const std::lock_guard lock(mutex_);
    return handlers_;
}

void SocketListener::reportFailure(int code) const {
    const auto current = handlers();
    if (current && current->failure) current->failure({code, std::generic_category()});
}

} // namespace quorvel::platform
