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
    /// What `done` was when the socket was last waited for.
    std::optional<std::size_t> doneBeforeWait;
    MoreToSend more = MoreToSend::no;
    bool complete = false;
    Connection::SendHandler handler;
    Connection::FileHandler fileHandler;

    /// Goes as far as the socket allows without waiting; errno says why it failed. The buffer is
    /// for files that cannot go from the page cache.
    Progress proceed(int socket, std::span<char> buffer);

    /// Bytes of text that the network has not taken.
    std::size_t waiting() const { return text.size() - (file ? 0 : done); }
    /// Text that nobody waits for.
    bool isPlainText() const { return !file && !handler; }
    bool isAwaited() const { return handler || fileHandler; }
    void report(std::error_code error);

  private:
    Progress sendBytes(int socket, std::string_view bytes);
    Progress sendFromCache(int socket, std::span<char> buffer);
    Progress sendByCopy(int socket, std::span<char> buffer);
};

} // namespace quorvel::platform
