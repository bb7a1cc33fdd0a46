#include "http/HTTPFileServer.h"

#include "http/Exchange.h"
#include "platform/files/Confinement.h"
#include "platform/text/Text.h"
#include "server/FolderPath.h"
#include "server/ListenerStart.h"
#include "server/Weakly.h"

#include <expected>
#include <utility>

namespace quorvel::http {

namespace {

std::optional<std::string> authorizationFor(const std::optional<server::Credentials>& credentials) {
    if (!credentials) return std::nullopt;
    return "Basic " + platform::base64(credentials->user + ":" + credentials->pass);
}

} // namespace

std::shared_ptr<HTTPFileServer>
HTTPFileServer::create(const std::string& root, std::uint16_t port,
                       const std::optional<server::Credentials>& credentials) {
    const std::string folder = server::standardizedPath(root);
    auto queue = platform::WorkQueue::create("io.quorvel.http", platform::confinementTo(folder));
    auto context = std::make_shared<const Context>(
        folder, authorizationFor(credentials), platform::SharedFolder(folder), queue->workers());
    return std::shared_ptr<HTTPFileServer>(
        new HTTPFileServer(std::move(context), port, std::move(queue)));
}

HTTPFileServer::HTTPFileServer(std::shared_ptr<const Context> context, std::uint16_t port,
                               std::shared_ptr<platform::WorkQueue> queue)
    : context_(std::move(context)), port_(port), queue_(std::move(queue)) {}

platform::Result<> HTTPFileServer::start() {
    auto listener = server::startListener(
        weak_from_this(), port_, *queue_,
        server::weakly(weak_from_this(), [](const HTTPFileServer& self, const auto& connection) {
            self.handleConnection(connection);
        }));
    if (!listener) return std::unexpected(listener.error());
    listener_ = std::move(*listener);
    return {};
}

void HTTPFileServer::stop() {
    if (listener_) listener_->cancel();
    listener_.reset();
}

void HTTPFileServer::handleConnection(
    const std::shared_ptr<platform::Connection>& connection) const {
    std::make_shared<Exchange>(context_, connection)->start();
}

} // namespace quorvel::http
