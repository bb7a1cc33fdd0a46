#pragma once

#include "http/HTTPFileServer.h"
#include "http/RequestHead.h"
#include "platform/files/SharedFolder.h"
#include "platform/network/Connection.h"
#include "platform/network/WorkerPool.h"

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <system_error>

namespace quorvel::http {

struct TextResponse;

/// What all exchanges of a server share. Immutable.
struct HTTPFileServer::Context {
    std::string root;
    /// The value that the Authorization header must have; none with open access.
    std::optional<std::string> expectedAuthorization;
    platform::SharedFolder folder;
    /// For what may wait for a disk. Does not keep the server's queue alive.
    std::shared_ptr<platform::WorkerPool> workers;
};

/// One request and its answer, from the first byte to the close of the connection. Runs on the
/// server's queue.
///
/// `receiveRequest` runs until the head is complete, then `handleRequest` leads to one of
/// `sendText`, `sendRedirect`, `sendDirectoryIndex` and `sendFile`. The callbacks of the connection
/// and of the pool own the exchange, which is gone when these have dropped them.
class HTTPFileServer::Exchange final : public std::enable_shared_from_this<Exchange> {
  public:
    Exchange(std::shared_ptr<const Context> context,
             std::shared_ptr<platform::Connection> connection);

    /// Begins to receive the request.
    void start();

  private:
    /// Asked for at most in one read.
    static constexpr std::size_t maxReceiveLength = 65536;
    /// The connection is dropped when more bytes than these make no complete head.
    static constexpr std::size_t maxRequestHeadBytes = 524288;

    /// What a request for a path asks for.
    struct Target {
        RequestHead request;
        std::string decodedPath;
        /// The absolute path inside the root.
        std::string location;

        bool isHead() const { return request.method == "HEAD"; }
    };

    // Exchange.cpp: the request, and every answer but a file's.
    void readMore();
    void receiveRequest(const platform::Received& received);
    void handleRequest(std::string_view head, bool bytesFollow);
    bool isAuthorized(const RequestHead& request) const;
    void answerPath(RequestHead request);
    void findOnDisk(Target target);
    void answerItem(platform::Result<platform::Item> item, const Target& target);
    void sendText(const TextResponse& response);
    void sendRedirect(std::string_view location);
    void sendDirectoryIndex(platform::Item directory, const Target& target);
    void sendAndClose(std::string response);

    // FileResponse.cpp
    void sendFile(platform::Item item, const Target& target);
    bool appendSmallFile(std::string& head) const;
    void headerSent(std::error_code error);
    void sendNextChunk();
    void chunkSent(std::error_code error, std::size_t count);

    const std::shared_ptr<const Context> context_;
    const std::shared_ptr<platform::Connection> connection_;

    /// The head as far as it has been received; empty if one read brings all of it.
    std::string buffer_;
    /// Whether the client may still be sending when the answer is out.
    platform::PeerInput peerInput_ = platform::PeerInput::expected;

    /// The file of the answer, and the bytes of it that are still to be sent.
    std::shared_ptr<const platform::OpenFile> file_;
    std::int64_t offset_ = 0;
    std::int64_t remaining_ = 0;
};

} // namespace quorvel::http
