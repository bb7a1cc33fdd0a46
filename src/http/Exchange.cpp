#include "http/Exchange.h"

#include "http/IndexPage.h"
#include "http/PathMapping.h"
#include "http/ResponseText.h"
#include "platform/text/Text.h"
#include "server/FolderPath.h"

#include <algorithm>
#include <cstddef>
#include <memory>
#include <string>
#include <utility>

namespace quorvel::http {

namespace {

constexpr std::string_view headEnd = "\r\n\r\n";

/// False when the item may exist all the same: the process is out of descriptors or memory, or the
/// disk fails.
bool saysMissing(const std::error_code& error) {
    static constexpr std::errc reasons[] = {
        std::errc::no_such_file_or_directory, std::errc::not_a_directory,
        std::errc::too_many_symbolic_link_levels, std::errc::filename_too_long,
        std::errc::permission_denied};
    return std::ranges::any_of(reasons, [&](std::errc reason) { return error == reason; });
}

/// The whole answer with the index of a folder, which is empty if it cannot be read. May wait for
/// the disk.
std::string directoryIndex(const platform::SharedFolder& folder, const platform::Item& directory,
                           std::string_view decodedPath, bool isHead) {
    // The length does not depend on the order.
    const auto order = isHead ? platform::EntryOrder::any : platform::EntryOrder::byName;
    const auto entries = folder.entries(directory, platform::EntryDetail::kind, order)
                             .value_or(platform::EntryList{});
    std::string response = indexHead(indexPageLength(entries, decodedPath));
    if (!isHead) appendIndexPage(response, entries, decodedPath);
    return response;
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
    auto request = parseRequestHead(head);
    // The answer may take hours, and the bytes of the head are no longer needed.
    buffer_.clear();
    buffer_.shrink_to_fit();
    if (!request) return sendText(badRequest());
    const bool isRead = request->method == "GET" || request->method == "HEAD";
    if (isRead && !request->announcesBody && !bytesFollow) peerInput_ = platform::PeerInput::done;
    if (!isAuthorized(*request)) return sendText(unauthorized());
    if (!isRead) return sendText(methodNotAllowed());
    answerPath(std::move(*request));
}

bool HTTPFileServer::Exchange::isAuthorized(const RequestHead& request) const {
    const auto& expected = context_->expectedAuthorization;
    return !expected || (request.authorization &&
                         platform::equalInConstantTime(*request.authorization, *expected));
}

void HTTPFileServer::Exchange::answerPath(RequestHead request) {
    std::string decoded = decodedPath(rawPath(request.target));
    auto location = resolveRequestPath(context_->root, decoded);
    if (!location) return sendText(forbidden());
    Target target{std::move(request), std::move(decoded), std::move(*location)};
    const auto path = server::relativeTo(context_->root, target.location);
    auto item = context_->folder.findCached(path, platform::Purpose::reading);
    item ? answerItem(std::move(*item), target) : findOnDisk(std::move(target));
}

void HTTPFileServer::Exchange::findOnDisk(Target target) {
    const std::string path(server::relativeTo(context_->root, target.location));
    context_->workers->run<platform::Item>(
        {context_->folder.diskOf(path), connection_->peerAddress()},
        [folder = context_->folder, path] { return folder.find(path, platform::Purpose::reading); },
        [self = shared_from_this(), target = std::move(target)](
            platform::Result<platform::Item> item) { self->answerItem(std::move(item), target); });
}

void HTTPFileServer::Exchange::answerItem(platform::Result<platform::Item> item,
                                          const Target& target) {
    if (!item) return sendText(saysMissing(item.error()) ? notFound() : cannotOpenFile());
    if (item->attributes.kind != platform::ItemKind::directory)
        return sendFile(std::move(*item), target);
    const auto raw = rawPath(target.request.target);
    if (!raw.ends_with('/')) return sendRedirect(redirectLocation(raw));
    sendDirectoryIndex(std::move(*item), target);
}

void HTTPFileServer::Exchange::sendText(const TextResponse& response) {
    sendAndClose(textResponse(response));
}

void HTTPFileServer::Exchange::sendRedirect(std::string_view location) {
    sendAndClose(redirectResponse(location));
}

void HTTPFileServer::Exchange::sendDirectoryIndex(platform::Item directory, const Target& target) {
    // Not the folder's own disk: what is mounted in the folder may be what holds its listing up.
    const auto disk = platform::SharedFolder::diskOf(directory.path);
    context_->workers->run<std::string>(
        {disk, connection_->peerAddress()},
        [folder = context_->folder, directory = std::move(directory), path = target.decodedPath,
         isHead = target.isHead()]() -> platform::Result<std::string> {
            return directoryIndex(folder, directory, path, isHead);
        },
        [self = shared_from_this()](platform::Result<std::string> response) {
            if (!response) return self->connection_->cancel();
            self->sendAndClose(std::move(*response));
        });
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
