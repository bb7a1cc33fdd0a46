#pragma once

#include "platform/network/Listener.h"
#include "server/FolderServer.h"

#include <cstdint>
#include <memory>

namespace quorvel::server {

/// Makes the listener of a server and starts it on the server's queue: its states become calls
/// of `onReady` and `onError`, as long as the server exists. Fails with
/// `ServerError::invalidPort` for port 0, else with the system's error.
platform::Result<std::shared_ptr<platform::Listener>>
startListener(std::weak_ptr<FolderServer> server, std::uint16_t port, platform::WorkQueue& queue,
              platform::Listener::ConnectionHandler handleConnection);

} // namespace quorvel::server
