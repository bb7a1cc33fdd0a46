#include "ftp/FTPFileServer.h"
#include "ftp/PassiveReply.h"
#include "server/LocalAddress.h"
#include "server/Weakly.h"

#include <utility>

namespace quorvel::ftp {

namespace {

constexpr auto cannotOpenDataConnection = "425 Can't open data connection.\r\n";

} // namespace

void FTPFileServer::handlePassive(const SessionPtr& session, std::string_view) {
    if (!openDataListener(session)) return sendReply(*session, cannotOpenDataConnection);
    const auto address = passiveAddress(*session->control);
    if (!address) return sendReply(*session, cannotOpenDataConnection);
    startDataListener(session, [address](std::uint16_t port) {
        return passiveReply(*address, port).value_or(cannotOpenDataConnection);
    });
}

void FTPFileServer::handleExtendedPassive(const SessionPtr& session, std::string_view) {
    if (!openDataListener(session)) return sendReply(*session, cannotOpenDataConnection);
    startDataListener(session, extendedPassiveReply);
}

std::shared_ptr<platform::Listener> FTPFileServer::openDataListener(const SessionPtr& session) {
    if (session->dataListener) session->dataListener->cancel();
    // A transfer that is running is cut here, and answers for itself.
    if (session->dataConnection) session->dataConnection->cancel();
    session->dataConnection = nullptr;
    session->transferRunning = false;
    session->onDataReady = nullptr;
    auto listener = platform::Listener::create(0);
    if (!listener) return nullptr;
    (*listener)->onConnection(server::weakly(
        weak_from_this(), [session](FTPFileServer& self, const ConnectionPtr& connection) {
            self.acceptDataConnection(session, connection);
        }));
    session->dataListener = *listener;
    return session->dataListener;
}

std::optional<std::string> FTPFileServer::passiveAddress(const platform::Connection& control) {
    auto address = control.localIPv4Address();
    return address ? address : server::localIPv4Address();
}

void FTPFileServer::startDataListener(const SessionPtr& session,
                                      std::function<std::string(std::uint16_t port)> replyFor) {
    using State = platform::Listener::State;
    // A listener that another has replaced is cancelled, and reports no more: the state is that
    // of the session's listener.
    session->dataListener->onState(server::weakly(
        weak_from_this(),
        [session, replyFor = std::move(replyFor)](FTPFileServer&, State state, std::error_code) {
            if (state == State::failed) return sendReply(*session, cannotOpenDataConnection);
            if (state != State::ready || !session->dataListener) return;
            if (const auto port = session->dataListener->port())
                sendReply(*session, replyFor(*port));
        }));
    session->dataListener->start(*queue_);
}

void FTPFileServer::acceptDataConnection(const SessionPtr& session,
                                         const ConnectionPtr& connection) {
    if (session->dataConnection) return connection->cancel();
    session->dataConnection = connection;
    if (auto action = std::exchange(session->onDataReady, nullptr)) action(session);
}

void FTPFileServer::transferWhenReady(const SessionPtr& session, TransferAction action) {
    if (session->dataConnection) return action(session);
    session->onDataReady = std::move(action);
}

FTPFileServer::ConnectionPtr FTPFileServer::claimDataConnection(Session& session) {
    // Two transfers must not mix their bytes on one connection.
    if (!session.dataConnection || session.transferRunning) {
        sendReply(session, "425 No data connection.\r\n");
        return nullptr;
    }
    session.transferRunning = true;
    return session.dataConnection;
}

void FTPFileServer::finishDataConnection(Session& session, const ConnectionPtr& connection) {
    // The network has taken all of it; the close sends what it held back, and the end with it.
    connection->cancel();
    // A transfer that PASV or EPSV cut must leave alone what they opened.
    if (session.dataConnection != connection) return;
    session.dataConnection = nullptr;
    session.transferRunning = false;
    if (session.dataListener) session.dataListener->cancel();
    session.dataListener = nullptr;
}

} // namespace quorvel::ftp
