#include "ftp/CommandLine.h"
#include "ftp/SessionSteps.h"
#include "server/FolderPath.h"

#include <optional>
#include <string>
#include <string_view>
#include <system_error>
#include <utility>

namespace quorvel::ftp {

namespace {

/// The text that lists the item; the name is for anything but a directory. Empty for a directory
/// that cannot be read. May wait for the disk.
std::string listingOf(const platform::SharedFolder& folder, const platform::Item& item,
                      std::string_view name, ListForm form) {
    const auto& attributes = item.attributes;
    if (attributes.kind != platform::ItemKind::directory) {
        const platform::FolderEntry file{name, false, attributes.size, attributes.modified};
        return listingText({&file, 1}, form);
    }
    const auto detail =
        form == ListForm::names ? platform::EntryDetail::kind : platform::EntryDetail::kindSizeDate;
    return listingText(folder.entries(item, detail).value_or(platform::EntryList{}), form);
}

} // namespace

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
    // Not the folder's own disk: what is mounted in the folder may be what holds its listing up.
    const auto disk = platform::SharedFolder::diskOf(found->item.path);
    awaitDisk<std::string>(
        disk,
        [folder = context_->folder, found = std::move(*found),
         form]() -> platform::Result<std::string> {
            const auto name = server::lastComponent(found.virtualPath);
            return listingOf(folder, found.item, name, form);
        },
        [](Session& self, platform::Result<std::string> text) {
            if (!text) return self.removeSession();
            // A transfer that waited for its client may have begun meanwhile, and ended.
            if (!self.canTransfer()) return;
            self.dataChannel_->whenReady(
                [session = self.shared_from_this(), text = std::move(*text)]() mutable {
                    session->sendListing(std::move(text));
                });
        });
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
    transferEnded(error ? "426 Transfer failed.\r\n" : "226 Directory send OK.\r\n");
}

} // namespace quorvel::ftp
