#include "ftp/SessionSteps.h"
#include "ftp/VirtualPath.h"
#include "server/FolderPath.h"

#include <optional>
#include <string>
#include <string_view>
#include <utility>

namespace quorvel::ftp {

void FTPFileServer::Session::find(std::string_view argument, platform::Purpose purpose,
                                  ItemStep step) {
    const std::string& root = context_->root;
    std::string virtualPath = resolvePath(workingDirectory_, argument);
    const std::string location = urlForVirtualPath(root, virtualPath);
    if (!server::isInside(root, location)) return (this->*step)(std::nullopt);
    const std::string path(server::relativeTo(root, location));
    if (auto item = context_->folder.findCached(path, purpose))
        return itemFound(std::move(virtualPath), std::move(*item), step);
    awaitDisk<platform::Item>(
        context_->folder.diskOf(path),
        [folder = context_->folder, path, purpose] { return folder.find(path, purpose); },
        [virtualPath = std::move(virtualPath), step](Session& self, auto item) mutable {
            self.itemFound(std::move(virtualPath), std::move(item), step);
        });
}

void FTPFileServer::Session::itemFound(std::string virtualPath,
                                       platform::Result<platform::Item> item, ItemStep step) {
    std::optional<FoundItem> found;
    if (item) found.emplace(std::move(virtualPath), std::move(*item));
    (this->*step)(std::move(found));
}

void FTPFileServer::Session::handleChangeDirectory(std::string_view argument) {
    find(argument, platform::Purpose::attributes, &Session::changeDirectory);
}

void FTPFileServer::Session::changeDirectory(std::optional<FoundItem> found) {
    if (!found || found->item.attributes.kind != platform::ItemKind::directory)
        return sendReply("550 Failed to change directory.\r\n");
    workingDirectory_ = std::move(found->virtualPath);
    sendReply("250 Directory changed to " + workingDirectory_ + "\r\n");
}

void FTPFileServer::Session::handleParentDirectory(std::string_view) {
    handleChangeDirectory("..");
}

} // namespace quorvel::ftp
