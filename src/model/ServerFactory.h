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

/// Makes the server for one start. Throws std::system_error if the system is out of threads or
/// descriptors.
using ServerFactory = std::function<std::shared_ptr<server::FolderServer>(
    ServerType type, const std::string& root, std::uint16_t port,
    const std::optional<server::Credentials>& credentials)>;

/// The default factory: makes an `FTPFileServer` or an `HTTPFileServer`.
std::shared_ptr<server::FolderServer>
makeFolderServer(ServerType type, const std::string& root, std::uint16_t port,
                 const std::optional<server::Credentials>& credentials);

} // namespace quorvel::model
