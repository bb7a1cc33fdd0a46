#pragma once

#include "platform/network/Listener.h"
#include "server/Credentials.h"
#include "server/FolderServer.h"

#include <cstdint>
#include <memory>
#include <optional>
#include <string>

namespace quorvel::http {

/// Serves the folder read-only over HTTP/1.1: one request per connection, one answer, then the
/// close.
///
/// Listens, and gives each client to an `Exchange` of its own on the server's queue.
/// Exchanges outlive `stop`, but not the server: releasing it releases the queue, which closes
/// every connection that is left.
class HTTPFileServer final : public server::FolderServer,
                             public std::enable_shared_from_this<HTTPFileServer> {
  public:
    /// Without credentials access is open.
    static std::shared_ptr<HTTPFileServer>
    create(const std::string& root, std::uint16_t port,
           const std::optional<server::Credentials>& credentials);

    platform::Result<> start() override;
    void stop() override;

  private:
    struct Context;
    class Exchange;

    HTTPFileServer(std::shared_ptr<const Context> context, std::uint16_t port,
                   std::shared_ptr<platform::WorkQueue> queue);

    void handleConnection(const std::shared_ptr<platform::Connection>& connection) const;

    const std::shared_ptr<const Context> context_;
    const std::uint16_t port_;
    const std::shared_ptr<platform::WorkQueue> queue_;
    std::shared_ptr<platform::Listener> listener_;
};

} // namespace quorvel::http
