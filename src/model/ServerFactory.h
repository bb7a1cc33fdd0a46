#pragma once

#include "model/ServerType.h"
#include "server/Credentials.h"
#include "server/FolderServer.h"

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>

namespace quorvel::model {

/// Makes the server for one start from the protocol, the folder, the port and the login. Throws
/// std::system_error when the system has no more threads or descriptors for it.
using ServerFactory = std::function<std::shared_ptr<server::FolderServer>(
    ServerType type, const std::string& root, std::uint16_t port,
    const std::optional<server::Credentials>& credentials)>;

/// The real ones: an `FTPFileServer` or an `HTTPFileServer`.
std::shared_ptr<server::FolderServer>
makeFolderServer(ServerType type, const std::string& root, std::uint16_t port,
                 const std::optional<server::Credentials>& credentials);

} // namespace quorvel::model
