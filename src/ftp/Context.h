#pragma once

#include "ftp/FTPFileServer.h"
#include "platform/files/SharedFolder.h"
#include "platform/network/WorkQueue.h"

#include <memory>
#include <optional>
#include <string>

namespace quorvel::ftp {

/// What all sessions of a server share. Immutable.
struct FTPFileServer::Context {
    std::string root;
    std::optional<server::Credentials> credentials;
    platform::SharedFolder folder;
    std::shared_ptr<platform::WorkQueue> queue;
};

} // namespace quorvel::ftp
