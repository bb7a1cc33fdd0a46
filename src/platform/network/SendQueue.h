#pragma once

#include "platform/network/Outgoing.h"

#include <cstddef>
#include <list>

namespace quorvel::platform {

/// The sends of one connection that the network has not taken or that are still to be reported,
/// in their order. Corks the socket while a file's last segment is to wait for what follows.
class SendQueue {
  public:
    bool isEmpty() const { return items_.empty(); }
    /// Bytes of text that the network has not taken.
    std::size_t bytesWaiting() const { return bytesWaiting_; }

    /// Appends the send, and tries it at once if it is the first. Returns false if that left
    /// nothing to do: everything was sent and there is no callback, or an earlier send carries it.
    bool add(Outgoing item, int socket);
    /// Appends the send without trying it.
    void append(Outgoing item);

    /// Sends as much of the first item as is possible without waiting; errno says why it failed.
    /// The queue must not be empty.
    Outgoing::Progress proceed(int socket);
    /// What is left of the first item, for which `proceed` said `needsDisk`.
    const FilePiece& firstPiece() const { return items_.front().piece; }
    /// Takes over what another thread has sent of the first item, and with what outcome.
    void firstPieceSent(FilePiece piece, Outgoing::Progress progress, int socket);
    /// Removes the first item, to be reported by the caller.
    Outgoing takeFirst();

  private:
    bool joinLast(const Outgoing& item);
    Outgoing::Progress attempt(Outgoing& item, int socket);
    void attempted(Outgoing& item, Outgoing::Progress progress, int socket);
    void setCork(int socket, bool isCorked);

    std::list<Outgoing> items_;
    std::size_t bytesWaiting_ = 0;
    bool isCorked_ = false;
};

} // namespace quorvel::platform
