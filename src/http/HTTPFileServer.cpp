#include "http/HTTPFileServer.h"

#include "http/PathMapping.h"
#include "http/ResponseText.h"
#include "platform/files/Confinement.h"
#include "platform/text/Text.h"
#include "server/FolderPath.h"
#include "server/ListenerStart.h"
#include "server/Weakly.h"

#include <algorithm>

namespace quorvel::http {

namespace {

constexpr std::string_view headEnd = "\r\n\r\n";

std::optional<std::string> authorizationFor(const std::optional<server::Credentials>& credentials) {
    if (!credentials) return std::nullopt;
    return "Basic " + platform::base64(credentials->user + ":" + credentials->pass);
}

/// False when the process has run out of descriptors: then the item may well be there.
bool saysMissing(const std::error_code& error) {
    return error != std::errc::too_many_files_open &&
           error != std::errc::too_many_files_open_in_system;
}

} // namespace

std::shared_ptr<HTTPFileServer>
HTTPFileServer::create(const std::string& root, std::uint16_t port,
                       const std::optional<server::Credentials>& credentials) {
    return std::shared_ptr<HTTPFileServer>(
        new HTTPFileServer(server::standardizedPath(root), port, credentials));
}

HTTPFileServer::HTTPFileServer(std::string root, std::uint16_t port,
                               const std::optional<server::Credentials>& credentials)
    : root_(std::move(root)), port_(port), expectedAuthorization_(authorizationFor(credentials)),
      folder_(root_),
      queue_(platform::WorkQueue::concurrent("io.quorvel.http", platform::confinementTo(root_))) {}

platform::Result<> HTTPFileServer::start() {
    auto listener = server::startListener(
        weak_from_this(), port_, *queue_,
        server::weakly(weak_from_this(), [](HTTPFileServer& self, const ConnectionPtr& connection) {
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

void HTTPFileServer::handleConnection(const ConnectionPtr& connection) {
    readMore(connection, {});
}

void HTTPFileServer::readMore(const ConnectionPtr& connection, std::string buffer) {
    connection->receive(maxReceiveLength,
                        server::weakly(
                            weak_from_this(),
                            [connection, buffer = std::move(buffer)](
                                HTTPFileServer& self, const platform::Received& received) mutable {
                                self.receiveRequest(connection, std::move(buffer), received);
                            },
                            [connection] { connection->cancel(); }));
}

void HTTPFileServer::receiveRequest(const ConnectionPtr& connection, std::string buffer,
                                    const platform::Received& received) {
    std::string_view collected = received.bytes;
    std::size_t searchFrom = 0;
    if (!buffer.empty()) {
        // Only what is new can complete the empty line; byte by byte, a search of the whole
        // buffer each time would cost hundreds of gigabytes of reading.
        searchFrom = buffer.size() - std::min(buffer.size(), headEnd.size() - 1);
        buffer += received.bytes;
        collected = buffer;
    }
    const auto end = collected.find(headEnd, searchFrom);
    if (end != std::string_view::npos) {
        const bool bytesFollow = collected.size() > end + headEnd.size();
        return handleRequest(connection, collected.substr(0, end), bytesFollow);
    }
    if (received.endOfStream || received.error || collected.size() > maxRequestHeadBytes)
        return connection->cancel();
    if (buffer.empty()) buffer = received.bytes;
    readMore(connection, std::move(buffer));
}

void HTTPFileServer::handleRequest(const ConnectionPtr& connection, std::string_view head,
                                   bool bytesFollow) {
    Client client{connection, platform::PeerInput::expected};
    const auto request = parseRequestHead(head);
    if (!request) return sendText(client, badRequest());
    const bool isRead = request->method == "GET" || request->method == "HEAD";
    if (isRead && !request->announcesBody && !bytesFollow) client.input = platform::PeerInput::done;
    if (!isAuthorized(*request)) return sendText(client, unauthorized());
    if (!isRead) return sendText(client, methodNotAllowed());
    answerPath(client, *request);
}

bool HTTPFileServer::isAuthorized(const RequestHead& request) const {
    return !expectedAuthorization_ || request.authorization == expectedAuthorization_;
}

void HTTPFileServer::answerPath(const Client& client, const RequestHead& request) {
    const std::string_view raw = rawPath(request.target);
    const std::string decoded = decodedPath(raw);
    const auto location = resolveRequestPath(root_, decoded);
    if (!location) return sendText(client, forbidden());
    const auto relativePath = server::relativeTo(root_, *location);
    auto item = folder_.find(relativePath, platform::Purpose::reading);
    if (!item) return sendText(client, saysMissing(item.error()) ? notFound() : cannotOpenFile());
    if (item->attributes.kind != platform::ItemKind::directory)
        return sendFile(client, std::move(*item), *location, request);
    if (!raw.ends_with('/')) return sendRedirect(client, redirectLocation(raw));
    sendDirectoryIndex(client, *item, relativePath, decoded, request.method);
}

void HTTPFileServer::sendText(const Client& client, const TextResponse& response) {
    sendAndClose(client, textResponse(response));
}

void HTTPFileServer::sendRedirect(const Client& client, std::string_view location) {
    sendAndClose(client, redirectResponse(location));
}

void HTTPFileServer::sendAndClose(const Client& client, std::string response) {
    // The close sends what it held back, and the end of the stream with it.
    client.connection->send(
        std::move(response), [client](std::error_code) { client.connection->cancel(client.input); },
        platform::MoreToSend::yes);
}

} // namespace quorvel::http
