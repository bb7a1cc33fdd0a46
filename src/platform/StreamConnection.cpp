#include "platform/StreamConnection.h"

#include "platform/GracefulClose.h"
#include "platform/SocketAddress.h"

#include <algorithm>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <sys/sendfile.h>
#include <sys/socket.h>

namespace quorvel::platform {

namespace {

// A fast client must not keep the thread from the others: 16 steps are 4 MiB of a download.
constexpr int stepsPerTurn = 16;

// Waiting texts are joined up to here; what is sent of a text is freed only with all of it.
constexpr std::size_t joinedTextLimit = 4096;

std::error_code posixError(int code) {
    return {code, std::generic_category()};
}

bool wouldBlock(int code) {
    return code == EAGAIN || code == EWOULDBLOCK;
}

} // namespace

StreamConnection::StreamConnection(Descriptor socket, std::shared_ptr<Loop> loop)
    : socket_(std::move(socket)), loop_(std::move(loop)) {
    loop_->join(*this);
}

StreamConnection::~StreamConnection() {
    // Both the watch and the socket would close the descriptor.
    takeSocket();
    if (loop_) loop_->leave(*this);
}

void StreamConnection::receive(std::size_t maximum, ReceiveHandler handler) {
    receiveMaximum_ = std::min(maximum, Loop::bufferSize);
    receiveHandler_ = std::move(handler);
    schedule();
}

void StreamConnection::send(std::string bytes, SendHandler handler, MoreToSend more) {
    Outgoing item;
    item.text = std::move(bytes);
    item.more = more;
    item.handler = std::move(handler);
    enqueue(std::move(item));
}

void StreamConnection::sendFile(std::shared_ptr<const OpenFile> file, std::int64_t offset,
                                std::size_t count, FileHandler handler, MoreToSend more) {
    Outgoing item;
    item.file = std::move(file);
    item.offset = offset;
    item.count = count;
    item.more = more;
    item.fileHandler = std::move(handler);
    enqueue(std::move(item));
}

void StreamConnection::finish(SendHandler handler) {
    Outgoing item;
    item.closesDirection = true;
    item.handler = std::move(handler);
    enqueue(std::move(item));
}

void StreamConnection::enqueue(Outgoing item) {
    if (!ended_ && joinLast(item)) return;
    // The network is asked at once, only the report comes later.
    if (!ended_ && outgoing_.empty()) {
        const Progress progress = attempt(item);
        if (progress == Progress::complete) {
            if (!item.handler && !item.fileHandler) return;
            item.complete = true;
        }
    }
    bytesWaiting_ += item.text.size() - (item.file ? 0 : item.done);
    outgoing_.push_back(std::move(item));
    schedule();
}

// A peer that does not read should cost what waits for it, not a list node for every few bytes.
bool StreamConnection::joinLast(const Outgoing& item) {
    if (outgoing_.empty() || !item.isPlainText()) return false;
    Outgoing& last = outgoing_.back();
    if (!last.isPlainText() || last.text.size() + item.text.size() > joinedTextLimit) return false;
    last.text += item.text;
    last.more = item.more;
    bytesWaiting_ += item.text.size();
    return true;
}

void StreamConnection::schedule() {
    if (driving_ || scheduled_) return;
    const auto loop = loop_ ? loop_ : endedOn_.lock();
    if (!loop) return dropHandlers();
    scheduled_ = true;
    // A handler that owns this connection is dropped by nobody else if the loop ends now.
    loop->join(*this);
    loop->post([self = shared_from_this()] {
        self->scheduled_ = false;
        self->drive();
    });
}

void StreamConnection::drive() {
    const auto self = shared_from_this();
    driving_ = true;
    int steps = stepsPerTurn;
    while (!ended_ && steps > 0 && (sendStep() || receiveStep()))
        --steps;
    if (ended_) reportEnd();
    driving_ = false;
    if (ended_) leaveWhenIdle();
    if (!ended_ && steps == 0) schedule();
}

void StreamConnection::leaveWhenIdle() {
    const auto loop = endedOn_.lock();
    if (loop && !scheduled_) loop->leave(*this);
}

bool StreamConnection::sendStep() {
    if (outgoing_.empty() || writeWaiting_) return false;
    Outgoing& next = outgoing_.front();
    const std::size_t before = next.done;
    const Progress progress = next.complete ? Progress::complete : attempt(next);
    if (!next.file && !next.complete) bytesWaiting_ -= next.done - before;
    if (progress == Progress::failed) return false;
    if (progress == Progress::wouldBlock) {
        next.doneBeforeWait = next.done;
        waitFor(Direction::outgoing);
        return false;
    }
    Outgoing finished = std::move(next);
    outgoing_.pop_front();
    finished.report({});
    return true;
}

StreamConnection::Progress StreamConnection::attempt(Outgoing& item) {
    if (item.closesDirection) {
        shutdown(socket_.number(), SHUT_WR);
        return Progress::complete;
    }
    // sendfile(2) takes no flag for what follows, so a file corks the socket instead.
    if (item.file && item.more == MoreToSend::yes) setCork(true);
    const Progress progress = item.file ? attemptFile(item) : attemptText(item);
    if (progress == Progress::complete && item.more == MoreToSend::no) setCork(false);
    return progress;
}

StreamConnection::Progress StreamConnection::attemptText(Outgoing& item) {
    const int flags = MSG_NOSIGNAL | (item.more == MoreToSend::yes ? MSG_MORE : 0);
    while (item.done < item.text.size()) {
        const ssize_t count = ::send(socket_.number(), item.text.data() + item.done,
                                     item.text.size() - item.done, flags);
        if (count >= 0) {
            item.done += static_cast<std::size_t>(count);
            continue;
        }
        if (errno == EINTR) continue;
        if (wouldBlock(errno)) return Progress::wouldBlock;
        end(posixError(errno), PeerInput::done);
        return Progress::failed;
    }
    return Progress::complete;
}

StreamConnection::Progress StreamConnection::attemptFile(Outgoing& item) {
    while (item.done < item.count) {
        off_t offset = item.offset + static_cast<off_t>(item.done);
        const ssize_t count =
            ::sendfile(socket_.number(), item.file->descriptor(), &offset, item.count - item.done);
        if (count == 0) return Progress::complete;
        if (count > 0) {
            item.done += static_cast<std::size_t>(count);
            continue;
        }
        if (errno == EINTR) continue;
        // Still nothing goes after a wait for the socket: then it may be the file that has
        // nothing to give now, and more waiting for the socket would be a spin.
        if (wouldBlock(errno) && item.doneBeforeWait != item.done) return Progress::wouldBlock;
        return copyFile(item);
    }
    return Progress::complete;
}

// Tells whose fault it was when sendfile gave an error: a read that fails ends the file, a send
// that fails ends the connection. It also serves file systems that sendfile refuses.
StreamConnection::Progress StreamConnection::copyFile(Outgoing& item) {
    while (item.done < item.count) {
        const auto space =
            loop_->buffer().first(std::min(loop_->buffer().size(), item.count - item.done));
        const auto got = item.file->read(item.offset + static_cast<std::int64_t>(item.done), space);
        if (!got || *got == 0) return Progress::complete;
        const ssize_t count = ::send(socket_.number(), space.data(), *got, MSG_NOSIGNAL);
        if (count >= 0) {
            item.done += static_cast<std::size_t>(count);
            continue;
        }
        if (errno == EINTR) continue;
        if (wouldBlock(errno)) return Progress::wouldBlock;
        end(posixError(errno), PeerInput::done);
        return Progress::failed;
    }
    return Progress::complete;
}

void StreamConnection::setCork(bool corked) {
    if (corked_ == corked) return;
    corked_ = corked;
    const int value = corked ? 1 : 0;
    setsockopt(socket_.number(), IPPROTO_TCP, TCP_CORK, &value, sizeof value);
}

bool StreamConnection::receiveStep() {
    if (ended_ || !receiveHandler_ || readWaiting_) return false;
    const auto buffer = loop_->buffer();
    ssize_t count = 0;
    do {
        count = recv(socket_.number(), buffer.data(), receiveMaximum_, 0);
    } while (count < 0 && errno == EINTR);
    if (count < 0 && wouldBlock(errno)) {
        waitFor(Direction::incoming);
        return false;
    }
    if (count < 0) {
        end(posixError(errno), PeerInput::done);
        return false;
    }
    Received received;
    received.bytes = {buffer.data(), static_cast<std::size_t>(count)};
    received.endOfStream = count == 0;
    std::exchange(receiveHandler_, {})(received);
    return true;
}

void StreamConnection::waitFor(Direction direction) {
    if (!watch_) {
        watch_.emplace(loop_->context());
        asio::error_code error;
        watch_->assign(socket_.number(), error);
        if (error) {
            watch_.reset();
            end(posixError(error.value()), PeerInput::done);
            return;
        }
    }
    const bool incoming = direction == Direction::incoming;
    (incoming ? readWaiting_ : writeWaiting_) = true;
    watch_->async_wait(incoming ? WatchedDescriptor::wait_read : WatchedDescriptor::wait_write,
                       [self = shared_from_this(), incoming](const asio::error_code&) {
                           (incoming ? self->readWaiting_ : self->writeWaiting_) = false;
                           if (!self->ended_) self->drive();
                       });
}

void StreamConnection::cancel(PeerInput input) {
    end({}, input);
}

void StreamConnection::end(std::error_code reason, PeerInput input) {
    if (ended_) return;
    ended_ = true;
    failure_ = reason;
    if (corked_) setCork(false);
    Descriptor socket = takeSocket();
    if (!reason) GracefulClose::start(std::move(socket), loop_, input);
    endedOn_ = std::exchange(loop_, nullptr);
    if (receiveHandler_ || !outgoing_.empty() || endHandler_) schedule();
    leaveWhenIdle();
}

// Handlers may ask for more of the ended connection; that is refused in the same way.
void StreamConnection::reportEnd() {
    const std::error_code error = failure_ ? failure_ : posixError(ECANCELED);
    while (!outgoing_.empty() || receiveHandler_) {
        if (!outgoing_.empty()) {
            Outgoing item = std::move(outgoing_.front());
            outgoing_.pop_front();
            item.report(item.complete ? std::error_code{} : error);
        } else {
            std::exchange(receiveHandler_, {})({{}, false, error});
        }
    }
    bytesWaiting_ = 0;
    if (auto handler = std::exchange(endHandler_, {})) handler(failure_);
    dropHandlers();
}

void StreamConnection::Outgoing::report(std::error_code error) {
    if (handler) handler(error);
    if (fileHandler) fileHandler(error, done);
}

Descriptor StreamConnection::takeSocket() {
    if (watch_) {
        watch_->release();
        watch_.reset();
    }
    return std::move(socket_);
}

void StreamConnection::closeWithLoop() {
    const auto self = shared_from_this();
    ended_ = true;
    takeSocket();
    loop_.reset();
    endedOn_.reset();
    dropHandlers();
}

void StreamConnection::dropHandlers() {
    const auto outgoing = std::move(outgoing_);
    const auto receiveHandler = std::move(receiveHandler_);
    const auto endHandler = std::move(endHandler_);
    outgoing_.clear();
    receiveHandler_ = {};
    endHandler_ = {};
}

std::optional<std::string> StreamConnection::localIPv4Address() const {
    sockaddr_storage address{};
    socklen_t length = sizeof address;
    if (getsockname(socket_.number(), reinterpret_cast<sockaddr*>(&address), &length) != 0)
        return std::nullopt;
    return ipv4Text(address);
}

} // namespace quorvel::platform
