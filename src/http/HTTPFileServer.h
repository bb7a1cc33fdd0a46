#pragma once

#include "http/RequestHead.h"
#include "platform/files/SharedFolder.h"
#include "platform/network/Connection.h"
#include "platform/network/Listener.h"
#include "platform/network/WorkQueue.h"
#include "server/Credentials.h"
#include "server/FolderServer.h"

#include <cstdint>
#include <memory>
#include <optional>
#include <string>

namespace quorvel::http {

struct TextResponse;

/// Serves the folder read-only over HTTP/1.1: one request per connection, one answer, then the
/// close. Callbacks run on a concurrent queue; what they touch of the server never changes.
///
/// The way of a request: handleConnection, receiveRequest until the head is whole,
/// handleRequest, then one of sendText, sendRedirect, sendDirectoryIndex and sendFile.
class HTTPFileServer final : public server::FolderServer,
                             public std::enable_shared_from_this<HTTPFileServer> {
  public:
    /// Asked for at most in one read.
    static constexpr std::size_t maxReceiveLength = 65536;
    /// A head that is longer without its empty line is dropped without an answer.
    static constexpr std::size_t maxRequestHeadBytes = 524288;

    /// Without credentials access is open.
    static std::shared_ptr<HTTPFileServer>
    create(const std::string& root, std::uint16_t port,
           const std::optional<server::Credentials>& credentials);

    /// On the owner's thread, both.
    platform::Result<> start() override;
    void stop() override;

  private:
    using ConnectionPtr = std::shared_ptr<platform::Connection>;

    /// Where an answer goes, and whether the client may still be sending when it is out.
    struct Client {
        ConnectionPtr connection;
        platform::PeerInput input = platform::PeerInput::done;
    };

    /// A file on its way out, carried from one send to the next.
    struct Transfer {
        Client client;
        std::shared_ptr<const platform::OpenFile> file;
        std::int64_t offset = 0;
    };

    HTTPFileServer(std::string root, std::uint16_t port,
                   const std::optional<server::Credentials>& credentials);

    void handleConnection(const ConnectionPtr& connection);
    void readMore(const ConnectionPtr& connection, std::string buffer);
    void receiveRequest(const ConnectionPtr& connection, std::string buffer,
                        const platform::Received& received);
    void handleRequest(const ConnectionPtr& connection, std::string_view head, bool bytesFollow);
    bool isAuthorized(const RequestHead& request) const;
    void answerPath(const Client& client, const RequestHead& request);

    void sendText(const Client& client, const TextResponse& response);
    void sendRedirect(const Client& client, std::string_view location);
    void sendDirectoryIndex(const Client& client, const platform::Item& directory,
                            std::string_view relativePath, std::string_view decodedPath,
                            std::string_view method);
    void sendFile(const Client& client, platform::Item item, std::string_view location,
                  const RequestHead& request);
    void sendSmallFile(const Transfer& transfer, std::string head, std::size_t length);
    void headerSent(const Transfer& transfer, std::error_code error, std::int64_t length);
    void sendNextChunk(const Transfer& transfer, std::int64_t remaining);
    void chunkSent(Transfer transfer, std::error_code error, std::size_t count,
                   std::int64_t remaining);
    void sendAndClose(const Client& client, std::string response);

    const std::string root_;
    const std::uint16_t port_;
    const std::optional<std::string> expectedAuthorization_;
    const platform::SharedFolder folder_;
    const std::shared_ptr<platform::WorkQueue> queue_;
    std::shared_ptr<platform::Listener> listener_;
};

} // namespace quorvel::http
