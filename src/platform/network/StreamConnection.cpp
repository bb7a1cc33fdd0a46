#include "platform/network/StreamConnection.h"

#include "platform/network/GracefulClose.h"
#include "platform/network/SocketAddress.h"

#include <algorithm>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <sys/socket.h>

namespace quorvel::platform {

namespace {

// A fast client must not keep the thread from the others. With a longer turn a download also meets
// the pacing of the congestion control (BBR's, say), where each hold costs a timer; with this one
// the time of the others' turns is enough for the network.
constexpr std::size_t bytesPerTurn = 256 << 10;
// What a step counts besides the bytes of a file.
constexpr std::size_t stepCost = bytesPerTurn / 16;

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

void StreamConnection::enqueue(Outgoing item) {
    if (!ended_ && joinLast(item)) return;
    // The network is asked at once, only the report comes later.
    if (!ended_ && outgoing_.empty()) {
        item.complete = attempt(item) == Outgoing::Progress::complete;
        if (item.complete && !item.isAwaited()) return;
    }
    bytesWaiting_ += item.waiting();
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
    std::size_t done = 0;
    while (!ended_ && done < bytesPerTurn) {
        std::size_t step = sendStep();
        if (step == 0) step = receiveStep();
        if (step == 0) break;
        done += step;
    }
    if (ended_) reportEnd();
    driving_ = false;
    if (ended_) leaveWhenIdle();
    if (!ended_ && done >= bytesPerTurn) schedule();
}

void StreamConnection::leaveWhenIdle() {
    const auto loop = endedOn_.lock();
    if (loop && !scheduled_) loop->leave(*this);
}

std::size_t StreamConnection::sendStep() {
    if (outgoing_.empty() || writeWaiting_) return 0;
    Outgoing& next = outgoing_.front();
    const std::size_t before = next.waiting();
    const auto progress = next.complete ? Outgoing::Progress::complete : attempt(next);
    bytesWaiting_ -= before - next.waiting();
    if (progress == Outgoing::Progress::failed) return 0;
    if (progress == Outgoing::Progress::wouldBlock) {
        next.doneBeforeWait = next.done;
        // What the cork holds back may be all that keeps the socket from becoming writable.
        setCork(false);
        waitFor(Direction::outgoing);
        return 0;
    }
    Outgoing finished = std::move(next);
    outgoing_.pop_front();
    finished.report({});
    return stepCost + (finished.file ? finished.done : 0);
}

Outgoing::Progress StreamConnection::attempt(Outgoing& item) {
    // sendfile(2) takes no flag for what follows, so a file corks the socket instead.
    if (item.file && item.more == MoreToSend::yes) setCork(true);
    const auto progress = item.proceed(socket_.number(), loop_->buffer());
    if (progress == Outgoing::Progress::failed) end(posixError(errno), PeerInput::done);
    if (progress == Outgoing::Progress::complete && item.more == MoreToSend::no) setCork(false);
    return progress;
}

void StreamConnection::setCork(bool corked) {
    if (corked_ == corked) return;
    corked_ = corked;
    const int value = corked ? 1 : 0;
    setsockopt(socket_.number(), IPPROTO_TCP, TCP_CORK, &value, sizeof value);
}

std::size_t StreamConnection::receiveStep() {
    if (ended_ || !receiveHandler_ || readWaiting_) return 0;
    if (std::exchange(inputTaken_, false)) {
        // It would be asked for nothing: what is next is still on its way.
        waitFor(Direction::incoming);
        return 0;
    }
    const auto buffer = loop_->buffer();
    ssize_t count = 0;
    do {
        count = recv(socket_.number(), buffer.data(), receiveMaximum_, 0);
    } while (count < 0 && errno == EINTR);
    if (count < 0 && wouldBlock(errno)) {
        waitFor(Direction::incoming);
        return 0;
    }
    if (count < 0) {
        end(posixError(errno), PeerInput::done);
        return 0;
    }
    Received received;
    received.bytes = {buffer.data(), static_cast<std::size_t>(count)};
    received.endOfStream = count == 0;
    inputTaken_ = count > 0 && received.bytes.size() < receiveMaximum_;
    const bool moreWaits = count > 0 && !inputTaken_;
    std::exchange(receiveHandler_, {})(received);
    return moreWaits ? bytesPerTurn : stepCost;
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
