#include "ftp/Session.h"
#include "ftp/VirtualPath.h"
#include "server/FolderPath.h"

namespace quorvel::ftp {

auto FTPFileServer::Session::find(std::string_view argument, platform::Purpose purpose) const
    -> std::optional<FoundItem> {
    const std::string& root = context_->root;
    FoundItem found;
    found.virtualPath = resolvePath(workingDirectory_, argument);
    const std::string location = urlForVirtualPath(root, found.virtualPath);
    if (!server::isInside(root, location)) return std::nullopt;
    auto item = context_->folder.find(server::relativeTo(root, location), purpose);
    if (!item) return std::nullopt;
    found.item = std::move(*item);
    return found;
}

void FTPFileServer::Session::handleChangeDirectory(std::string_view argument) {
    auto found = find(argument);
    if (!found || found->item.attributes.kind != platform::ItemKind::directory)
        return sendReply("550 Failed to change directory.\r\n");
    workingDirectory_ = std::move(found->virtualPath);
    sendReply("250 Directory changed to " + workingDirectory_ + "\r\n");
}

void FTPFileServer::Session::handleParentDirectory(std::string_view) {
    handleChangeDirectory("..");
}

} // namespace quorvel::ftp
