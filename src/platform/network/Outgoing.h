#pragma once

#include "platform/network/Connection.h"

#include <span>

namespace quorvel::platform {

/// One send on its way: text or a piece of a file.
struct Outgoing {
    enum class Progress { complete, wouldBlock, failed };

    std::string text;
    std::shared_ptr<const OpenFile> file;
    std::int64_t offset = 0;
    std::size_t count = 0;
    std::size_t done = 0;
    /// The value of `done` when the socket was last waited for.
    std::optional<std::size_t> doneBeforeWait;
    MoreToSend more = MoreToSend::no;
    /// Everything has been sent; only the report is due.
    bool isComplete = false;
    Connection::SendHandler handler;
    Connection::FileHandler fileHandler;

    /// Sends as much as the socket takes without waiting; errno says why it failed. The buffer is
    /// used for files that cannot be sent from the page cache.
    Progress proceed(int socket, std::span<char> buffer);

    /// Bytes of text that the network has not taken.
    std::size_t bytesWaiting() const { return text.size() - (file ? 0 : done); }
    /// Text without a callback.
    bool isPlainText() const { return !file && !handler; }
    bool hasHandler() const { return handler || fileHandler; }
    void report(std::error_code error);

  private:
    Progress sendBytes(int socket, std::string_view bytes);
    Progress sendFromCache(int socket, std::span<char> buffer);
    Progress sendByCopy(int socket, std::span<char> buffer);
};

} // namespace quorvel::platform
