#include "ftp/AwaitDisk.h"
#include "ftp/CommandLine.h"
#include "server/FolderPath.h"

#include <utility>

namespace quorvel::ftp {

void FTPFileServer::Session::handleLongList(std::string_view argument) {
    find(listPath(argument), platform::Purpose::attributes, &Session::listLines);
}

void FTPFileServer::Session::handleNameList(std::string_view argument) {
    find(listPath(argument), platform::Purpose::attributes, &Session::listNames);
}

void FTPFileServer::Session::listLines(std::optional<FoundItem> found) {
    list(std::move(found), ListForm::lines);
}

void FTPFileServer::Session::listNames(std::optional<FoundItem> found) {
    list(std::move(found), ListForm::names);
}

void FTPFileServer::Session::list(std::optional<FoundItem> found, ListForm form) {
    if (!found) return sendReply("550 No such file or directory.\r\n");
    if (!canTransfer()) return;
    const auto disk = found->item.disk.id;
    awaitDisk<std::string>(
        disk,
        [folder = context_->folder, found = std::move(*found),
         form]() -> platform::Result<std::string> { return listingOf(folder, found, form); },
        [](Session& self, platform::Result<std::string> text) {
            if (!text) return self.removeSession();
            self.dataChannel_->whenReady(
                [session = self.shared_from_this(), text = std::move(*text)]() mutable {
                    session->sendListing(std::move(text));
                });
        });
}

std::string FTPFileServer::Session::listingOf(const platform::SharedFolder& folder,
                                              const FoundItem& found, ListForm form) {
    const auto& attributes = found.item.attributes;
    if (attributes.kind != platform::ItemKind::directory) {
        const platform::FolderEntry file{server::lastComponent(found.virtualPath), false,
                                         attributes.size, attributes.modified};
        return listingText({&file, 1}, form);
    }
    const auto detail =
        form == ListForm::names ? platform::EntryDetail::kind : platform::EntryDetail::kindSizeDate;
    return listingText(folder.entries(found.item, detail).value_or(platform::EntryList{}), form);
}

void FTPFileServer::Session::sendListing(std::string text) {
    const auto channel = claimDataChannel();
    if (!channel) return;
    sendReply("150 Here comes the directory listing.\r\n");
    channel->sendText(std::move(text), [self = shared_from_this()](std::error_code error) {
        self->finishListing(error);
    });
}

void FTPFileServer::Session::finishListing(std::error_code error) {
    sendReply(error ? "426 Transfer failed.\r\n" : "226 Directory send OK.\r\n");
    transferEnded();
}

} // namespace quorvel::ftp
