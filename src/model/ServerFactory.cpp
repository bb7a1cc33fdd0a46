#include "model/ServerFactory.h"

#include "ftp/FTPFileServer.h"
#include "http/HTTPFileServer.h"

#include <utility>

namespace quorvel::model {

std::shared_ptr<server::FolderServer>
makeFolderServer(ServerType type, std::string root, std::uint16_t port,
                 std::optional<server::Credentials> credentials) {
    if (type == ServerType::ftp)
        return ftp::FTPFileServer::create(root, port, std::move(credentials));
    return http::HTTPFileServer::create(std::move(root), port, std::move(credentials));
}

} // namespace quorvel::model
