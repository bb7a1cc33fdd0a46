#include "ftp/CommandLine.h"
#include "ftp/SessionSteps.h"

#include <chrono>
#include <cstddef>
#include <memory>
#include <system_error>
#include <utility>

namespace quorvel::ftp {

namespace {

using Clock = std::chrono::steady_clock;

// Asked for at most in one read of the control connection.
constexpr std::size_t controlReadMaximum = 8192;
// Longer input without a line feed is discarded.
constexpr std::size_t pendingLineLimit = 4096;
// No further command is taken while more bytes of replies wait for the client to read them.
constexpr std::size_t waitingReplyLimit = 65536;

// While lines are held, input beyond this stays in the network.
constexpr std::size_t heldInputLimit = 65536;

// How long the commands waiting in one client's input may hold up the other clients.
constexpr std::chrono::microseconds turnTime{100};

} // namespace

FTPFileServer::Session::Session(std::shared_ptr<const Context> context,
                                std::weak_ptr<FTPFileServer> server,
                                std::shared_ptr<platform::Connection> control)
    : context_(std::move(context)), server_(std::move(server)), control_(std::move(control)) {}

void FTPFileServer::Session::start() {
    sendReply("220 Quorvel FTP ready.\r\n");
    askForCommands();
}

void FTPFileServer::Session::askForCommands() {
    if (std::exchange(isReceiving_, true)) return;
    control_->receive(controlReadMaximum,
                      [self = shared_from_this()](const platform::Received& received) {
                          self->receiveCommands(received);
                      });
}

void FTPFileServer::Session::receiveCommands(const platform::Received& received) {
    isReceiving_ = false;
    input_ += received.bytes;
    inputHasEnded_ = received.endOfStream || received.error;
    if (!isHeld()) return handleLines();
    // A disk may hold the lines for hours: what a client that has left asked for is dropped.
    if (awaitsDisk_) inputHasEnded_ ? removeSession() : watchClient();
}

void FTPFileServer::Session::handleLines() {
    if (!isClosed_ && !isHeld()) whileMemoryLasts([this] { takeLines(); });
}

void FTPFileServer::Session::takeLines() {
    const auto turnEnd = Clock::now() + turnTime;
    std::string_view rest = input_;
    bool mustPause = false;
    while (!mustPause) {
        const auto line = takeLine(rest);
        if (!line) break;
        if (!rest.empty()) sendsAhead_ = true;
        if (const auto text = commandText(*line); !text.empty()) handleCommand(text);
        mustPause =
            isHeld() || control_->bytesWaiting() > waitingReplyLimit || Clock::now() >= turnEnd;
    }
    input_.erase(0, input_.size() - rest.size());
    mustPause ? pauseLines() : linesHandled();
}

void FTPFileServer::Session::pauseLines() {
    if (awaitsDisk_) return watchClient();
    if (isHeld()) return;
    isPaused_ = true;
    if (control_->bytesWaiting() <= waitingReplyLimit)
        return context_->queue->post([self = shared_from_this()] { self->resumeLines(); });
    // An empty send completes after all replies before it.
    control_->send({}, [self = shared_from_this()](std::error_code error) {
        error ? self->removeSession() : self->resumeLines();
    });
}

void FTPFileServer::Session::watchClient() {
    if (input_.size() <= heldInputLimit) askForCommands();
}

void FTPFileServer::Session::resumeLines() {
    isPaused_ = false;
    handleLines();
}

void FTPFileServer::Session::linesHandled() {
    if (inputHasEnded_) return removeSession();
    if (isQuitting_) return closeAfterReplies();
    if (input_.size() > pendingLineLimit) input_.clear();
    if (input_.empty()) input_.shrink_to_fit();
    askForCommands();
}

void FTPFileServer::Session::closeAfterReplies() {
    isPaused_ = true;
    // No transfer begins whose replies could not be sent.
    if (dataChannel_ && !dataChannel_->isTransferring()) dataChannel_->cancel();
    const auto input = sendsAhead_ ? platform::PeerInput::expected : platform::PeerInput::done;
    // An empty send completes after all replies before it, for which a cancel would not wait. The
    // last of them leaves with the close, in one segment.
    control_->send(
        {}, [self = shared_from_this(), input](std::error_code) { self->removeSession(input); },
        platform::MoreToSend::yes);
}

void FTPFileServer::Session::removeSession(platform::PeerInput input) {
    close(input);
    if (const auto server = server_.lock()) server->forget(shared_from_this());
}

void FTPFileServer::Session::close(platform::PeerInput input) {
    isClosed_ = true;
    context_->queue->workers()->cancel(diskWork_);
    if (dataChannel_) dataChannel_->cancel();
    control_->cancel(input);
}

void FTPFileServer::Session::sendReply(std::string text) {
    control_->send(std::move(text));
}

} // namespace quorvel::ftp
