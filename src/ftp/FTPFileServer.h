#pragma once

#include "platform/network/Listener.h"
#include "server/Credentials.h"
#include "server/FolderServer.h"

#include <cstdint>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <unordered_set>

namespace quorvel::ftp {

/// Serves the folder read-only over FTP (RFC 959, 2428, 3659), with passive transfers only.
///
/// Listens, keeps one `Session` per client, and closes all of them when it stops. The sessions
/// run on the server's queue.
class FTPFileServer final : public server::FolderServer,
                            public std::enable_shared_from_this<FTPFileServer> {
  public:
    /// Without credentials access is open.
    static std::shared_ptr<FTPFileServer> create(const std::string& root, std::uint16_t port,
                                                 std::optional<server::Credentials> credentials);

    /// Calls `stop`. Thread-safe: the last reference may be released on the queue's thread.
    ~FTPFileServer() override;

    platform::Result<> start() override;
    /// Frees the port before it returns. The sessions are closed on their queue, soon after.
    void stop() override;

  private:
    class Session;
    struct Context;

    FTPFileServer(std::shared_ptr<const Context> context, std::uint16_t port);

    void handleNewConnection(const std::shared_ptr<platform::Connection>& connection);
    void forget(const std::shared_ptr<Session>& session);

    const std::shared_ptr<const Context> context_;
    const std::uint16_t port_;
    std::shared_ptr<platform::Listener> listener_;

    /// Guards the members below: `stop` runs on the owner's thread, sessions come and go on the
    /// queue's.
    std::mutex mutex_;
    std::unordered_set<std::shared_ptr<Session>> sessions_;
    bool isStopped_ = false;
};

} // namespace quorvel::ftp
