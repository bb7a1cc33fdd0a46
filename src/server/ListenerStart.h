#pragma once

#include "platform/network/Listener.h"
#include "server/FolderServer.h"

#include <cstdint>
#include <memory>

namespace quorvel::server {

/// Makes a server's listener and starts it on the server's queue. Its states are reported to the
/// server's `onReady` and `onError` for as long as the server exists. Fails with
/// `ServerError::invalidPort` for port 0, else with the system's error.
platform::Result<std::shared_ptr<platform::Listener>>
startListener(std::weak_ptr<FolderServer> server, std::uint16_t port, platform::WorkQueue& queue,
              platform::Listener::ConnectionHandler handleConnection);

} // namespace quorvel::server
