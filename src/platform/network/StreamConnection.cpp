#include "platform/network/StreamConnection.h"

#include "platform/network/GracefulClose.h"
#include "platform/network/SocketAddress.h"

#include <algorithm>
#include <cerrno>
#include <cstddef>
#include <new>
#include <string>
#include <sys/socket.h>
#include <sys/types.h>
#include <system_error>
#include <utility>

namespace quorvel::platform {

namespace {

// A fast client must not keep the thread from the others, so that a chunk of a file ends a turn as
// well. With longer turns a download also runs into the pacing of the congestion control (BBR, for
// one), where each delay costs a timer; the time of the other clients' turns is delay enough.
constexpr int stepsPerTurn = 16;

} // namespace

StreamConnection::StreamConnection(Descriptor socket, std::shared_ptr<Loop> loop)
    : socket_(std::move(socket)), loop_(std::move(loop)) {
    loop_->join(*this);
}

StreamConnection::~StreamConnection() {
    leaveSocket();
    if (const auto loop = loop_ ? loop_ : endedOn_.lock()) loop->leave(*this);
}

void StreamConnection::receive(std::size_t maximum, ReceiveHandler handler) {
    receiveMaximum_ = static_cast<std::uint32_t>(std::min(maximum, Loop::bufferSize));
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
    item.piece = FilePiece{std::move(file), offset, count};
    item.more = more;
    item.fileHandler = std::move(handler);
    enqueue(std::move(item));
}

void StreamConnection::enqueue(Outgoing item) {
    if (hasEnded())
        sendQueue_.append(std::move(item));
    else if (!sendQueue_.add(std::move(item), socket_.number()))
        return;
    schedule();
}

void StreamConnection::schedule() {
    if (turn_ != Turn::none) return;
    const auto loop = loop_ ? loop_ : endedOn_.lock();
    if (!loop) return dropHandlers();
    loop->post([self = shared_from_this()] { self->drive(); });
    turn_ = Turn::scheduled;
    // If the loop ends before the turn, it is the one to drop a handler that owns this connection.
    loop->join(*this);
}

void StreamConnection::drive() {
    const auto self = shared_from_this();
    turn_ = Turn::running;
    Step step = Step::done;
    try {
        for (int steps = 0; steps < stepsPerTurn && step == Step::done; ++steps) {
            step = sendStep();
            if (step == Step::nothingToDo) step = receiveStep();
        }
    } catch (const std::bad_alloc&) {
        if (!hasEnded()) end(ENOMEM);
    }
    if (hasEnded()) reportEnd();
    turn_ = Turn::none;
    if (!hasEnded()) {
        if (step != Step::nothingToDo) schedule();
    } else if (const auto loop = endedOn_.lock()) {
        loop->leave(*this);
    }
}

StreamConnection::Step StreamConnection::sendStep() {
    if (hasEnded() || sendQueue_.isEmpty() || outputAwaited_) return Step::nothingToDo;
    switch (sendQueue_.proceed(socket_.number())) {
    case Outgoing::Progress::failed:
        end(errno);
        return Step::nothingToDo;
    case Outgoing::Progress::wouldBlock:
        waitFor(Direction::outgoing);
        return Step::nothingToDo;
    case Outgoing::Progress::needsDisk:
        sendFromDisk();
        return Step::nothingToDo;
    case Outgoing::Progress::complete:
        break;
    }
    Outgoing sent = sendQueue_.takeFirst();
    sent.report({});
    return sent.isPiece() ? Step::turnOver : Step::done;
}

void StreamConnection::sendFromDisk() {
    outputAwaited_ = true;
    const FilePiece& piece = sendQueue_.firstPiece();
    diskSend_ = std::make_unique<DiskSend>(
        loop_->workers(), WorkOrigin{piece.file->disk().id, peerAddress()}, piece, socket_.number(),
        [self = shared_from_this()](Result<DiskSend::Outcome> outcome) {
            self->sentFromDisk(std::move(outcome));
        });
}

void StreamConnection::sentFromDisk(Result<DiskSend::Outcome> outcome) {
    if (hasEnded()) return;
    outputAwaited_ = false;
    diskSend_.reset();
    if (!outcome) return end(outcome.error().value());
    if (outcome->progress == FilePiece::Progress::failed) return end(outcome->code);
    sendQueue_.firstPieceSent(std::move(outcome->piece), outcome->progress, socket_.number());
    if (outcome->progress == FilePiece::Progress::wouldBlock) waitFor(Direction::outgoing);
    if (!hasEnded() && turn_ == Turn::none) drive();
}

StreamConnection::Step StreamConnection::receiveStep() {
    if (hasEnded() || !receiveHandler_ || input_ == Input::awaited) return Step::nothingToDo;
    if (input_ == Input::taken) {
        // A further read would find nothing: the next bytes are still on their way.
        waitFor(Direction::incoming);
        return Step::nothingToDo;
    }
    const auto buffer = loop_->buffer();
    ssize_t count = 0;
    do {
        count = recv(socket_.number(), buffer.data(), receiveMaximum_, 0);
    } while (count < 0 && errno == EINTR);
    if (count < 0) {
        if (errno == EAGAIN)
            waitFor(Direction::incoming);
        else
            end(errno);
        return Step::nothingToDo;
    }
    Received received;
    received.bytes = {buffer.data(), static_cast<std::size_t>(count)};
    received.endOfStream = count == 0;
    const bool moreWaits = received.bytes.size() == receiveMaximum_;
    if (count > 0 && !moreWaits) input_ = Input::taken;
    std::exchange(receiveHandler_, {})(received);
    return moreWaits ? Step::turnOver : Step::done;
}

void StreamConnection::waitFor(Direction direction) {
    if (!watch_) {
        watch_.emplace(loop_->context());
        asio::error_code error;
        watch_->assign(socket_.number(), error);
        if (error) {
            watch_.reset();
            return end(error.value());
        }
    }
    const bool isIncoming = direction == Direction::incoming;
    if (isIncoming)
        input_ = Input::awaited;
    else
        outputAwaited_ = true;
    try {
        watch_->async_wait(isIncoming ? WatchedDescriptor::wait_read
                                      : WatchedDescriptor::wait_write,
                           [self = shared_from_this(), direction](const asio::error_code&) {
                               self->waitIsOver(direction);
                           });
    } catch (const std::bad_alloc&) {
        end(ENOMEM);
    }
}

void StreamConnection::waitIsOver(Direction direction) {
    if (direction == Direction::incoming)
        input_ = Input::unknown;
    else
        outputAwaited_ = false;
    // A turn that is scheduled already does what there is to do.
    if (!hasEnded() && turn_ == Turn::none) drive();
}

void StreamConnection::cancel(PeerInput input) {
    if (hasEnded()) return;
    if (!diskSend_) GracefulClose::start(takeSocket(), loop_, input);
    end(ECANCELED);
}

void StreamConnection::end(int code) {
    endCode_ = code;
    leaveSocket();
    endedOn_ = std::exchange(loop_, nullptr);
    if (receiveHandler_ || !sendQueue_.isEmpty()) return scheduleReport();
    const auto loop = endedOn_.lock();
    if (loop && turn_ != Turn::scheduled) loop->leave(*this);
}

void StreamConnection::scheduleReport() {
    try {
        schedule();
    } catch (const std::bad_alloc&) {
        dropHandlers();
    }
}

// Handlers may ask for more of the ended connection, which is refused in the same way.
void StreamConnection::reportEnd() {
    while (!sendQueue_.isEmpty() || receiveHandler_) {
        try {
            reportNext();
        } catch (const std::bad_alloc&) { // NOLINT(bugprone-empty-catch): the others are told
        }
    }
}

void StreamConnection::reportNext() {
    const std::error_code error(endCode_, std::generic_category());
    if (sendQueue_.isEmpty()) return std::exchange(receiveHandler_, {})({{}, false, error});
    Outgoing item = sendQueue_.takeFirst();
    item.report(item.isComplete ? std::error_code{} : error);
}

void StreamConnection::leaveSocket() {
    Descriptor socket = takeSocket();
    if (const auto send = std::exchange(diskSend_, nullptr))
        send->abandon(loop_->workers(), std::move(socket));
}

Descriptor StreamConnection::takeSocket() {
    // Both the watch and the socket would close the descriptor.
    if (watch_) {
        watch_->release();
        watch_.reset();
    }
    return std::move(socket_);
}

void StreamConnection::closeWithLoop() {
    const auto self = shared_from_this();
    if (!hasEnded()) endCode_ = ECANCELED;
    leaveSocket();
    loop_.reset();
    endedOn_.reset();
    dropHandlers();
}

void StreamConnection::dropHandlers() {
    // Moved out first: what a handler owns may make calls on this connection when it goes.
    const auto sends = std::exchange(sendQueue_, {});
    const auto receiveHandler = std::exchange(receiveHandler_, {});
}

std::string StreamConnection::peerAddress() const {
    return platform::peerAddress(socket_.number());
}

std::optional<std::string> StreamConnection::localIPv4Address() const {
    return platform::localIPv4Address(socket_.number());
}

} // namespace quorvel::platform
