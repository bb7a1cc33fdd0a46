#include "ftp/FTPFileServer.h"

#include "ftp/Session.h"
#include "platform/files/Confinement.h"
#include "server/FolderPath.h"
#include "server/ListenerStart.h"
#include "server/Weakly.h"

#include <expected>
#include <utility>

namespace quorvel::ftp {

std::shared_ptr<FTPFileServer>
FTPFileServer::create(const std::string& root, std::uint16_t port,
                      std::optional<server::Credentials> credentials) {
    const std::string folder = server::standardizedPath(root);
    auto queue = platform::WorkQueue::create("io.quorvel.ftp", platform::confinementTo(folder));
    auto context = std::make_shared<const Context>(
        folder, std::move(credentials), platform::SharedFolder(folder), std::move(queue));
    return std::shared_ptr<FTPFileServer>(new FTPFileServer(std::move(context), port));
}

FTPFileServer::FTPFileServer(std::shared_ptr<const Context> context, std::uint16_t port)
    : context_(std::move(context)), port_(port) {}

FTPFileServer::~FTPFileServer() {
    FTPFileServer::stop();
}

platform::Result<> FTPFileServer::start() {
    auto listener = server::startListener(
        weak_from_this(), port_, *context_->queue,
        server::weakly(weak_from_this(), [](FTPFileServer& self, const auto& connection) {
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
        isStopped_ = true;
        sessions.swap(sessions_);
    }
    if (!sessions.empty()) {
        // Each session keeps the queue alive until it is closed.
        context_->queue->post([sessions = std::move(sessions)] {
            for (const auto& session : sessions)
                session->close();
        });
    }
    if (listener_) listener_->cancel();
    listener_.reset();
}

void FTPFileServer::handleNewConnection(const std::shared_ptr<platform::Connection>& connection) {
    const auto session = std::make_shared<Session>(context_, weak_from_this(), connection);
    {
        const std::lock_guard lock(mutex_);
        if (isStopped_) return;
        sessions_.insert(session);
    }
    session->start();
}

void FTPFileServer::forget(const std::shared_ptr<Session>& session) {
    const std::lock_guard lock(mutex_);
    sessions_.erase(session);
}

} // namespace quorvel::ftp
