#include "platform/network/GracefulClose.h"

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cstddef>
#include <memory>
#include <sys/socket.h>
#include <sys/types.h>
#include <utility>

namespace quorvel::platform {

namespace {

// Enough for a form or a photo sent by mistake; a client that sends more has had the reply by then.
constexpr std::size_t drainBytes = 16 << 20;
constexpr std::chrono::seconds drainTime{10};

} // namespace

void GracefulClose::start(Descriptor socket, const std::shared_ptr<Loop>& loop, PeerInput input) {
    std::size_t allowance = loop->buffer().size();
    const Input left = readAway(socket.number(), *loop, allowance);
    if (left == Input::ended) return;
    if (left == Input::none && input == PeerInput::done) return;
    shutdown(socket.number(), SHUT_WR);
    std::make_shared<GracefulClose>(std::move(socket), loop)->wait();
}

GracefulClose::GracefulClose(Descriptor socket, std::shared_ptr<Loop> loop)
    : socket_(std::move(socket)), loop_(std::move(loop)), allowance_(drainBytes) {
    loop_->join(*this);
}

GracefulClose::~GracefulClose() {
    if (loop_) loop_->leave(*this);
}

GracefulClose::Input GracefulClose::readAway(int socket, Loop& loop, std::size_t& allowance) {
    Input result = Input::none;
    while (allowance > 0) {
        const auto space = std::min(loop.buffer().size(), allowance);
        const ssize_t count = recv(socket, loop.buffer().data(), space, 0);
        if (count == 0) return Input::ended;
        if (count < 0 && errno == EINTR) continue;
        if (count < 0) return errno == EAGAIN ? result : Input::ended;
        allowance -= static_cast<std::size_t>(count);
        result = Input::unread;
    }
    return result;
}

void GracefulClose::wait() {
    asio::error_code error;
    if (!watch_) {
        watch_.emplace(loop_->context());
        watch_->assign(socket_.number(), error);
        if (error) return close();
        deadline_.emplace(loop_->context(), drainTime);
        deadline_->async_wait([self = shared_from_this()](const asio::error_code& cancelled) {
            if (!cancelled) self->close();
        });
    }
    watch_->async_wait(WatchedDescriptor::wait_read,
                       [self = shared_from_this()](const asio::error_code& cancelled) {
                           if (!cancelled) self->proceed();
                       });
}

void GracefulClose::proceed() {
    if (!loop_) return;
    // Bounded for each turn, so that a flood does not hold the thread.
    std::size_t piece = std::min<std::size_t>(allowance_, 1 << 20);
    const std::size_t before = piece;
    const Input left = readAway(socket_.number(), *loop_, piece);
    allowance_ -= before - piece;
    if (left == Input::ended || allowance_ == 0) return close();
    wait();
}

void GracefulClose::close() {
    if (!loop_) return;
    loop_->leave(*this);
    closeWithLoop();
}

void GracefulClose::closeWithLoop() {
    const auto self = shared_from_this();
    if (watch_) watch_->release();
    watch_.reset();
    deadline_.reset();
    loop_.reset();
}

} // namespace quorvel::platform
