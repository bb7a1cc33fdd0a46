#include "http/ContentType.h"
#include "http/Exchange.h"
#include "http/ResponseText.h"
#include "server/Download.h"
#include "server/FolderPath.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <system_error>
#include <utility>

namespace quorvel::http {

namespace {

// Up to this size, reading the body and sending it with the head is cheaper than a sendfile(2).
constexpr std::int64_t smallFileSize = 16384;

} // namespace

void HTTPFileServer::Exchange::sendFile(platform::Item item, const Target& target) {
    const std::int64_t size = item.attributes.size;
    auto file = platform::SharedFolder::open(item);
    if (!file) return sendText(cannotOpenFile());
    std::optional<ByteRange> range;
    if (const auto& wanted = target.request.range; wanted && isByteRange(*wanted)) {
        range = parseRange(*wanted, size);
        if (!range) return sendText(rangeNotSatisfiable(size));
    }
    const auto type = mimeType(fileExtension(server::lastComponent(target.location)));
    std::string head = fileHead(type, range, size);
    offset_ = range ? range->first : 0;
    remaining_ = range ? range->length() : size;
    if (target.isHead() || remaining_ == 0) return sendAndClose(std::move(head));

    file_ = std::move(*file);
    if (remaining_ <= smallFileSize && appendSmallFile(head)) return sendAndClose(std::move(head));
    connection_->send(
        std::move(head),
        [self = shared_from_this()](std::error_code error) { self->headerSent(error); },
        platform::MoreToSend::yes);
}

bool HTTPFileServer::Exchange::appendSmallFile(std::string& head) const {
    const std::size_t headSize = head.size();
    const auto bodySize = static_cast<std::size_t>(remaining_);
    head.resize(headSize + bodySize);
    if (file_->readCached(offset_, std::span(head).subspan(headSize)) == bodySize) return true;
    head.resize(headSize);
    return false;
}

void HTTPFileServer::Exchange::headerSent(std::error_code error) {
    if (error) return connection_->cancel();
    sendNextChunk();
}

void HTTPFileServer::Exchange::sendNextChunk() {
    // The close also ends the outgoing direction, after everything that was sent.
    if (remaining_ <= 0) return connection_->cancel(peerInput_);
    constexpr auto chunkSize = static_cast<std::int64_t>(server::downloadChunkSize);
    connection_->sendFile(
        file_, offset_, static_cast<std::size_t>(std::min(remaining_, chunkSize)),
        [self = shared_from_this()](std::error_code error, std::size_t count) {
            self->chunkSent(error, count);
        },
        platform::MoreToSend::yes);
}

void HTTPFileServer::Exchange::chunkSent(std::error_code error, std::size_t count) {
    // Nothing sent without an error: the file has ended early, and the close tells the client.
    if (error || count == 0) return connection_->cancel();
    offset_ += static_cast<std::int64_t>(count);
    remaining_ -= static_cast<std::int64_t>(count);
    // During a long transfer the client has time to send more.
    if (remaining_ > 0) peerInput_ = platform::PeerInput::expected;
    sendNextChunk();
}

} // namespace quorvel::http
