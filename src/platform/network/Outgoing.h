#pragma once

#include "platform/network/Connection.h"
#include "platform/network/FilePiece.h"

#include <cstddef>
#include <string>
#include <system_error>

namespace quorvel::platform {

/// One send on its way: text or a piece of a file.
struct Outgoing {
    using Progress = FilePiece::Progress;

    std::string text;
    /// Bytes of the text that the network has taken.
    std::size_t done = 0;
    /// Has a file if this is not a text.
    FilePiece piece;
    MoreToSend more = MoreToSend::no;
    /// Everything has been sent; only the report is due.
    bool isComplete = false;
    Connection::SendHandler handler;
    Connection::FileHandler fileHandler;

    /// Sends as much as the socket takes, and the page cache holds, without waiting.
    Progress proceed(int socket);

    /// Bytes of text that the network has not taken.
    std::size_t bytesWaiting() const { return text.size() - done; }
    bool isPiece() const { return piece.file != nullptr; }
    /// Text without a callback.
    bool isPlainText() const { return !isPiece() && !handler; }
    bool hasHandler() const { return handler || fileHandler; }
    void report(std::error_code error);

  private:
    Progress sendText(int socket);
};

} // namespace quorvel::platform
