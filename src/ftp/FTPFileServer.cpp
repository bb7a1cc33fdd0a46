#include "ftp/FTPFileServer.h"

#include "ftp/CommandLine.h"
#include "platform/files/Confinement.h"
#include "server/FolderPath.h"
#include "server/ListenerStart.h"
#include "server/Weakly.h"

#include <chrono>
#include <utility>

namespace quorvel::ftp {

namespace {

using Clock = std::chrono::steady_clock;

// Commands that wait in one client's input hold the others up no longer than this.
constexpr std::chrono::milliseconds turnTime{10};

} // namespace

std::shared_ptr<FTPFileServer>
FTPFileServer::create(const std::string& root, std::uint16_t port,
                      std::optional<server::Credentials> credentials) {
    return std::shared_ptr<FTPFileServer>(
        new FTPFileServer(server::standardizedPath(root), port, std::move(credentials)));
}

FTPFileServer::FTPFileServer(std::string root, std::uint16_t port,
                             std::optional<server::Credentials> credentials)
    : root_(std::move(root)), port_(port), credentials_(std::move(credentials)), folder_(root_),
      queue_(platform::WorkQueue::serial("io.quorvel.ftp", platform::confinementTo(root_))) {}

FTPFileServer::~FTPFileServer() {
    FTPFileServer::stop();
}

platform::Result<> FTPFileServer::start() {
    auto listener = server::startListener(
        weak_from_this(), port_, *queue_,
        server::weakly(weak_from_this(), [](FTPFileServer& self, const ConnectionPtr& connection) {
            self.handleNewConnection(connection);
        }));
    if (!listener) return std::unexpected(listener.error());
    listener_ = std::move(*listener);
    return {};
}

void FTPFileServer::stop() {
    decltype(sessions_) sessions;
    {
        const std::lock_guard lock(mutex_);
        stopped_ = true;
        sessions.swap(sessions_);
    }
    if (!sessions.empty()) {
        // The task holds the queue, so that it runs even when the server is released right now:
        // sessions, listeners and connections hold each other until they are closed.
        queue_->post([queue = queue_, sessions = std::move(sessions)] {
            for (const auto& [control, session] : sessions)
                closeSession(*session);
        });
    }
    if (listener_) listener_->cancel();
    listener_.reset();
}

void FTPFileServer::handleNewConnection(const ConnectionPtr& connection) {
    const auto session = std::make_shared<Session>(connection);
    {
        const std::lock_guard lock(mutex_);
        if (stopped_) return;
        sessions_.emplace(connection.get(), session);
    }
    connection->onEnd(
        server::weakly(weak_from_this(), [session](FTPFileServer& self, std::error_code) {
            self.handleConnectionState(session);
        }));
    sendReply(*session, "220 Quorvel FTP ready.\r\n");
    askForCommands(session);
}

void FTPFileServer::handleConnectionState(const SessionPtr& session) {
    removeSession(session);
}

void FTPFileServer::askForCommands(const SessionPtr& session) {
    session->control->receive(
        controlReadMaximum,
        server::weakly(weak_from_this(),
                       [session](FTPFileServer& self, const platform::Received& received) {
                           self.receiveCommands(session, received);
                       }));
}

void FTPFileServer::receiveCommands(const SessionPtr& session, const platform::Received& received) {
    session->input += received.bytes;
    session->inputEnded = received.endOfStream || received.error;
    handleLines(session);
}

void FTPFileServer::handleLines(const SessionPtr& session) {
    if (session->removed) return;
    const auto turnEnd = Clock::now() + turnTime;
    std::string_view rest = session->input;
    bool mustPause = false;
    while (!mustPause) {
        const auto line = takeLine(rest);
        if (!line) break;
        if (!rest.empty()) session->sendsAhead = true;
        if (const auto text = commandText(*line); !text.empty()) handleCommand(session, text);
        mustPause = session->control->bytesWaiting() > waitingReplyLimit || Clock::now() >= turnEnd;
    }
    session->input.erase(0, session->input.size() - rest.size());
    mustPause ? pauseLines(session) : linesHandled(session);
}

void FTPFileServer::pauseLines(const SessionPtr& session) {
    if (session->control->bytesWaiting() <= waitingReplyLimit) {
        return queue_->post(server::weakly(
            weak_from_this(), [session](FTPFileServer& self) { self.handleLines(session); }));
    }
    // An empty send completes after all replies before it.
    session->control->send(
        {}, server::weakly(weak_from_this(), [session](FTPFileServer& self, std::error_code error) {
            if (!error) self.handleLines(session);
        }));
}

void FTPFileServer::linesHandled(const SessionPtr& session) {
    if (session->inputEnded) return removeSession(session);
    if (session->input.size() > pendingLineLimit) session->input.clear();
    if (session->input.empty()) session->input.shrink_to_fit();
    if (session->quitReplied) return closeControl(*session);
    askForCommands(session);
}

void FTPFileServer::removeSession(const SessionPtr& session) {
    closeSession(*session);
    const std::lock_guard lock(mutex_);
    sessions_.erase(session->control.get());
}

void FTPFileServer::closeSession(Session& session) {
    session.removed = true;
    if (session.dataListener) session.dataListener->cancel();
    if (session.dataConnection) session.dataConnection->cancel();
    session.control->cancel();
}

void FTPFileServer::sendReply(const Session& session, std::string text) {
    session.control->send(std::move(text));
}

} // namespace quorvel::ftp
