#include "ftp/DateText.h"
#include "ftp/Session.h"
#include "server/FolderPath.h"

#include <cerrno>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <system_error>
#include <utility>

namespace quorvel::ftp {

void FTPFileServer::Session::handleRetrieve(std::string_view argument) {
    find(argument, platform::Purpose::reading, &Session::retrieve);
}

void FTPFileServer::Session::retrieve(std::optional<FoundItem> found) {
    // A RETR that fails uses the offset up as well.
    const std::int64_t offset = std::exchange(restartOffset_, 0);
    auto file = found ? platform::SharedFolder::open(found->item) : platform::failure(ENOENT);
    if (!file) return sendReply("550 File not found.\r\n");
    if (!canTransfer()) return;
    dataChannel_->whenReady(
        [self = shared_from_this(), file = std::move(*file), offset,
         name = std::string(server::lastComponent(found->virtualPath))]() mutable {
            self->startDownload(std::move(file), offset, name);
        });
}

void FTPFileServer::Session::startDownload(std::shared_ptr<const platform::OpenFile> file,
                                           std::int64_t offset, std::string_view name) {
    const auto channel = claimDataChannel();
    if (!channel) return;
    sendReply("150 Opening data connection for " + std::string(name) + ".\r\n");
    channel->sendFile(std::move(file), offset, [self = shared_from_this()](std::error_code error) {
        self->finishDownload(error);
    });
}

void FTPFileServer::Session::finishDownload(std::error_code error) {
    transferEnded(error ? "426 Transfer failed.\r\n" : "226 Transfer complete.\r\n");
}

void FTPFileServer::Session::handleSize(std::string_view argument) {
    find(argument, platform::Purpose::attributes, &Session::sendSize);
}

void FTPFileServer::Session::sendSize(std::optional<FoundItem> found) {
    if (!found || found->item.attributes.kind == platform::ItemKind::directory)
        return sendReply("550 Could not get file size.\r\n");
    sendReply("213 " + std::to_string(found->item.attributes.size) + "\r\n");
}

void FTPFileServer::Session::handleModificationTime(std::string_view argument) {
    find(argument, platform::Purpose::attributes, &Session::sendModificationTime);
}

void FTPFileServer::Session::sendModificationTime(std::optional<FoundItem> found) {
    const auto date = found ? modificationTimeText(found->item.attributes.modified) : std::nullopt;
    if (!date) return sendReply("550 Could not get modification time.\r\n");
    sendReply("213 " + *date + "\r\n");
}

} // namespace quorvel::ftp
