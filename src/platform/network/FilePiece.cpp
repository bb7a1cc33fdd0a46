#include "platform/network/FilePiece.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <span>
#include <sys/sendfile.h>
#include <sys/socket.h>

namespace quorvel::platform {

FilePiece::Sent FilePiece::sendSome(int socket) {
    off_t position = offset + static_cast<off_t>(done);
    const ssize_t sent = ::sendfile(socket, file->descriptor(), &position, count - done);
    if (sent == 0) return Sent::nothingLeft;
    if (sent > 0) {
        done += static_cast<std::size_t>(sent);
        return Sent::some;
    }
    if (errno == EINTR) return Sent::again;
    if (errno == EPIPE || errno == ECONNRESET) return Sent::peerGone;
    // If the socket takes nothing after a wait for it, then the EAGAIN may be the file's, and
    // waiting for the socket again would spin.
    return errno == EAGAIN && doneBeforeWait != done ? Sent::socketFull : Sent::cannotSend;
}

FilePiece::Progress FilePiece::sendFromCache(int socket) {
    while (done < count) {
        if (!file->isCached(offset + static_cast<std::int64_t>(done), count - done))
            return Progress::needsDisk;
        switch (sendSome(socket)) {
        case Sent::nothingLeft:
            return Progress::complete;
        case Sent::socketFull:
            return Progress::wouldBlock;
        case Sent::peerGone:
            return Progress::failed;
        case Sent::cannotSend:
            return Progress::needsDisk;
        case Sent::some:
        case Sent::again:
            break;
        }
    }
    return Progress::complete;
}

FilePiece::Progress FilePiece::sendFromDisk(int socket) {
    // sendfile(2) takes a short answer of a file server for the end of the file.
    if (!file->disk().isLocal) return sendByCopy(socket);
    while (done < count) {
        switch (sendSome(socket)) {
        case Sent::nothingLeft:
            return Progress::complete;
        case Sent::socketFull:
            return Progress::wouldBlock;
        case Sent::peerGone:
            return Progress::failed;
        case Sent::cannotSend:
            return sendByCopy(socket);
        case Sent::some:
        case Sent::again:
            break;
        }
    }
    return Progress::complete;
}

// Tells which side an error of sendfile came from: a failing read ends the file, a failing send
// ends the connection.
FilePiece::Progress FilePiece::sendByCopy(int socket) {
    std::array<char, 65536> buffer;
    while (done < count) {
        const auto space = std::span(buffer).first(std::min(buffer.size(), count - done));
        const auto got = file->read(offset + static_cast<std::int64_t>(done), space);
        if (!got || *got == 0) return Progress::complete;
        const ssize_t sent = ::send(socket, buffer.data(), *got, MSG_NOSIGNAL);
        if (sent >= 0)
            done += static_cast<std::size_t>(sent);
        else if (errno != EINTR)
            return errno == EAGAIN ? Progress::wouldBlock : Progress::failed;
    }
    return Progress::complete;
}

} // namespace quorvel::platform
