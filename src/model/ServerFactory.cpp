#include "model/ServerFactory.h"

#include "ftp/FTPFileServer.h"
#include "http/HTTPFileServer.h"

namespace quorvel::model {

std::shared_ptr<server::FolderServer>
makeFolderServer(ServerType type, const std::string& root, std::uint16_t port,
                 const std::optional<server::Credentials>& credentials) {
    if (type == ServerType::ftp) return ftp::FTPFileServer::create(root, port, credentials);
    return http::HTTPFileServer::create(root, port, credentials);
}

} // namespace quorvel::model
