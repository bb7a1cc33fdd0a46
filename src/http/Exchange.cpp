#include "http/Exchange.h"

#include "http/IndexPage.h"
#include "http/PathMapping.h"
#include "http/ResponseText.h"
#include "server/FolderPath.h"
#include "server/SortByName.h"

#include <algorithm>
#include <utility>

namespace quorvel::http {

namespace {

constexpr std::string_view headEnd = "\r\n\r\n";

/// False when the process is out of descriptors: the item may exist all the same.
bool saysMissing(const std::error_code& error) {
    return error != std::errc::too_many_files_open &&
           error != std::errc::too_many_files_open_in_system;
}

} // namespace

HTTPFileServer::Exchange::Exchange(std::shared_ptr<const Context> context,
                                   std::shared_ptr<platform::Connection> connection)
    : context_(std::move(context)), connection_(std::move(connection)) {}

void HTTPFileServer::Exchange::start() {
    readMore();
}

void HTTPFileServer::Exchange::readMore() {
    connection_->receive(maxReceiveLength,
                         [self = shared_from_this()](const platform::Received& received) {
                             self->receiveRequest(received);
                         });
}

void HTTPFileServer::Exchange::receiveRequest(const platform::Received& received) {
    std::string_view collected = received.bytes;
    std::size_t searchFrom = 0;
    if (!buffer_.empty()) {
        // Only new bytes can complete the empty line. Searching the whole buffer each time would
        // read hundreds of gigabytes for a head that comes byte by byte.
        searchFrom = buffer_.size() - std::min(buffer_.size(), headEnd.size() - 1);
        buffer_ += received.bytes;
        collected = buffer_;
    }
    const auto end = collected.find(headEnd, searchFrom);
    if (end != std::string_view::npos) {
        const bool bytesFollow = collected.size() > end + headEnd.size();
        return handleRequest(collected.substr(0, end), bytesFollow);
    }
    if (received.endOfStream || received.error || collected.size() > maxRequestHeadBytes)
        return connection_->cancel();
    if (buffer_.empty()) buffer_ = received.bytes;
    readMore();
}

void HTTPFileServer::Exchange::handleRequest(std::string_view head, bool bytesFollow) {
    const auto request = parseRequestHead(head);
    // The answer may take hours, and the bytes of the head are no longer needed.
    buffer_.clear();
    buffer_.shrink_to_fit();
    if (!request) return sendText(badRequest());
    const bool isRead = request->method == "GET" || request->method == "HEAD";
    if (isRead && !request->announcesBody && !bytesFollow) peerInput_ = platform::PeerInput::done;
    if (!isAuthorized(*request)) return sendText(unauthorized());
    if (!isRead) return sendText(methodNotAllowed());
    answerPath(*request);
}

bool HTTPFileServer::Exchange::isAuthorized(const RequestHead& request) const {
    return !context_->expectedAuthorization ||
           request.authorization == context_->expectedAuthorization;
}

void HTTPFileServer::Exchange::answerPath(const RequestHead& request) {
    const std::string_view raw = rawPath(request.target);
    const std::string decoded = decodedPath(raw);
    const auto location = resolveRequestPath(context_->root, decoded);
    if (!location) return sendText(forbidden());
    const auto relativePath = server::relativeTo(context_->root, *location);
    auto item = context_->folder.find(relativePath, platform::Purpose::reading);
    if (!item) return sendText(saysMissing(item.error()) ? notFound() : cannotOpenFile());
    if (item->attributes.kind != platform::ItemKind::directory)
        return sendFile(std::move(*item), *location, request);
    if (!raw.ends_with('/')) return sendRedirect(redirectLocation(raw));
    sendDirectoryIndex(*item, decoded, request.method);
}

void HTTPFileServer::Exchange::sendText(const TextResponse& response) {
    sendAndClose(textResponse(response));
}

void HTTPFileServer::Exchange::sendRedirect(std::string_view location) {
    sendAndClose(redirectResponse(location));
}

void HTTPFileServer::Exchange::sendDirectoryIndex(const platform::Item& directory,
                                                  std::string_view decodedPath,
                                                  std::string_view method) {
    auto entries = context_->folder.entries(directory, platform::EntryDetail::kind)
                       .value_or(std::vector<platform::FolderEntry>{});
    server::sortByName(entries);
    const std::string page = indexPage(entries, decodedPath);
    std::string response = indexHead(page.size());
    if (method == "GET") response += page;
    sendAndClose(std::move(response));
}

void HTTPFileServer::Exchange::sendAndClose(std::string response) {
    // The close sends what the network has held back, and the end of the stream with it.
    connection_->send(
        std::move(response),
        [self = shared_from_this()](std::error_code) {
            self->connection_->cancel(self->peerInput_);
        },
        platform::MoreToSend::yes);
}

} // namespace quorvel::http
