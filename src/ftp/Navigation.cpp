#include "ftp/FTPFileServer.h"
#include "ftp/VirtualPath.h"
#include "server/FolderPath.h"

namespace quorvel::ftp {

std::optional<FTPFileServer::FoundItem> FTPFileServer::find(const Session& session,
                                                            std::string_view argument,
                                                            platform::Purpose purpose) const {
    FoundItem found;
    found.virtualPath = resolvePath(session.workingDirectory, argument);
    found.location = urlForVirtualPath(root_, found.virtualPath);
    if (!server::isInside(root_, found.location)) return std::nullopt;
    auto item = folder_.find(server::relativeTo(root_, found.location), purpose);
    if (!item) return std::nullopt;
    found.item = std::move(*item);
    return found;
}

void FTPFileServer::handleChangeDirectory(const SessionPtr& session, std::string_view argument) {
    auto found = find(*session, argument);
    if (!found || found->item.attributes.kind != platform::ItemKind::directory)
        return sendReply(*session, "550 Failed to change directory.\r\n");
    session->workingDirectory = std::move(found->virtualPath);
    sendReply(*session, "250 Directory changed to " + session->workingDirectory + "\r\n");
}

void FTPFileServer::handleParentDirectory(const SessionPtr& session, std::string_view) {
    handleChangeDirectory(session, "..");
}

} // namespace quorvel::ftp
