#include "http/ContentType.h"
#include "http/HTTPFileServer.h"
#include "http/IndexPage.h"
#include "http/ResponseText.h"
#include "server/Download.h"
#include "server/FolderPath.h"
#include "server/SortByName.h"
#include "server/Weakly.h"

#include <algorithm>

namespace quorvel::http {

namespace {

// Up to here reading the body and sending it in one piece with the head is cheaper than a
// sendfile of its own.
constexpr std::int64_t smallFileSize = 16384;

} // namespace

void HTTPFileServer::sendDirectoryIndex(const Client& client, const platform::Item& directory,
                                        std::string_view relativePath, std::string_view decodedPath,
                                        std::string_view method) {
    auto entries = folder_.entries(directory, relativePath, platform::EntryDetail::kind)
                       .value_or(std::vector<platform::FolderEntry>{});
    server::sortByName(entries);
    const std::string page = indexPage(entries, decodedPath);
    std::string response = indexHead(page.size());
    if (method == "GET") response += page;
    sendAndClose(client, std::move(response));
}

void HTTPFileServer::sendFile(const Client& client, platform::Item item, std::string_view location,
                              const RequestHead& request) {
    const std::int64_t size = item.attributes.size;
    auto file = platform::SharedFolder::open(std::move(item));
    if (!file) return sendText(client, cannotOpenFile());
    std::optional<ByteRange> range;
    if (request.range && isByteRange(*request.range)) {
        range = parseRange(*request.range, size);
        if (!range) return sendText(client, rangeNotSatisfiable(size));
    }
    const auto type = mimeType(fileExtension(server::lastComponent(location)));
    std::string head = fileHead(type, range, size);
    const std::int64_t length = range ? range->length() : size;
    if (request.method == "HEAD" || length == 0) return sendAndClose(client, std::move(head));

    const Transfer transfer{client, std::move(*file), range ? range->first : 0};
    if (length <= smallFileSize)
        return sendSmallFile(transfer, std::move(head), static_cast<std::size_t>(length));
    client.connection->send(std::move(head),
                            server::weakly(
                                weak_from_this(),
                                [transfer, length](HTTPFileServer& self, std::error_code error) {
                                    self.headerSent(transfer, error, length);
                                },
                                [client] { client.connection->cancel(); }),
                            platform::MoreToSend::yes);
}

void HTTPFileServer::sendSmallFile(const Transfer& transfer, std::string head, std::size_t length) {
    const std::size_t headSize = head.size();
    head.resize(headSize + length);
    const auto count =
        transfer.file->read(transfer.offset, std::span(head).subspan(headSize)).value_or(0);
    // A file that has become shorter meanwhile: the close tells the client that bytes are missing.
    head.resize(headSize + count);
    sendAndClose(transfer.client, std::move(head));
}

void HTTPFileServer::headerSent(const Transfer& transfer, std::error_code error,
                                std::int64_t length) {
    if (error) return transfer.client.connection->cancel();
    sendNextChunk(transfer, length);
}

void HTTPFileServer::sendNextChunk(const Transfer& transfer, std::int64_t remaining) {
    // The close of a connection ends its outgoing direction as well, after all that was sent.
    if (remaining <= 0) return transfer.client.connection->cancel(transfer.client.input);
    constexpr auto chunkSize = static_cast<std::int64_t>(server::downloadChunkSize);
    const auto count = static_cast<std::size_t>(std::min(remaining, chunkSize));
    transfer.client.connection->sendFile(
        transfer.file, transfer.offset, count,
        server::weakly(
            weak_from_this(),
            [transfer, remaining](HTTPFileServer& self, std::error_code error, std::size_t sent) {
                self.chunkSent(transfer, error, sent, remaining);
            },
            [connection = transfer.client.connection] { connection->cancel(); }),
        platform::MoreToSend::yes);
}

void HTTPFileServer::chunkSent(Transfer transfer, std::error_code error, std::size_t count,
                               std::int64_t remaining) {
    // Nothing sent without an error: the file ended early, and the close says so.
    if (error || count == 0) return transfer.client.connection->cancel();
    transfer.offset += static_cast<std::int64_t>(count);
    remaining -= static_cast<std::int64_t>(count);
    // A long transfer gives its client the time to send more.
    if (remaining > 0) transfer.client.input = platform::PeerInput::expected;
    sendNextChunk(transfer, remaining);
}

} // namespace quorvel::http
