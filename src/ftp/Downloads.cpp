#include "ftp/DateText.h"
#include "ftp/FTPFileServer.h"
#include "server/Download.h"
#include "server/FolderPath.h"
#include "server/Weakly.h"

#include <utility>

namespace quorvel::ftp {

void FTPFileServer::handleRetrieve(const SessionPtr& session, std::string_view argument) {
    // A RETR that fails uses the offset up as well.
    const std::int64_t offset = std::exchange(session->restartOffset, 0);
    auto found = find(*session, argument, platform::Purpose::reading);
    auto file =
        found ? platform::SharedFolder::open(std::move(found->item)) : platform::failure(ENOENT);
    if (!file) return sendReply(*session, "550 File not found.\r\n");
    auto send = [download = Download{nullptr, std::move(*file), offset},
                 name = std::string(server::lastComponent(found->location))](
                    FTPFileServer& self, const SessionPtr& owner) mutable {
        self.startDownload(owner, std::move(download), name);
    };
    transferWhenReady(session, server::weakly(weak_from_this(), std::move(send)));
}

void FTPFileServer::startDownload(const SessionPtr& session, Download download,
                                  std::string_view name) {
    download.connection = claimDataConnection(*session);
    if (!download.connection) return;
    sendReply(*session, "150 Opening data connection for " + std::string(name) + ".\r\n");
    sendNextChunk(session, download);
}

void FTPFileServer::sendNextChunk(const SessionPtr& session, const Download& download) {
    auto sent = [session, download](FTPFileServer& self, std::error_code error, std::size_t count) {
        self.chunkSent(session, download, error, count);
    };
    download.connection->sendFile(download.file, download.offset, server::downloadChunkSize,
                                  server::weakly(weak_from_this(), std::move(sent)),
                                  platform::MoreToSend::yes);
}

void FTPFileServer::chunkSent(const SessionPtr& session, const Download& download,
                              std::error_code error, std::size_t count) {
    if (!error && count == server::downloadChunkSize) {
        const auto next = download.offset + static_cast<std::int64_t>(count);
        return sendNextChunk(session, {download.connection, download.file, next});
    }
    // Fewer bytes without an error: the end of the file, or a read that failed.
    finishDataConnection(*session, download.connection);
    sendReply(*session, error ? "426 Transfer failed.\r\n" : "226 Transfer complete.\r\n");
}

void FTPFileServer::handleSize(const SessionPtr& session, std::string_view argument) {
    const auto found = find(*session, argument);
    if (!found || found->item.attributes.kind != platform::ItemKind::file)
        return sendReply(*session, "550 Could not get file size.\r\n");
    sendReply(*session, "213 " + std::to_string(found->item.attributes.size) + "\r\n");
}

void FTPFileServer::handleModificationTime(const SessionPtr& session, std::string_view argument) {
    const auto found = find(*session, argument);
    const auto date = found && found->item.attributes.kind != platform::ItemKind::special
                          ? modificationTimeText(found->item.attributes.modified)
                          : std::nullopt;
    if (!date) return sendReply(*session, "550 Could not get modification time.\r\n");
    sendReply(*session, "213 " + *date + "\r\n");
}

} // namespace quorvel::ftp
