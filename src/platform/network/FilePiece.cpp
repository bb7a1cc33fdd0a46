#include "platform/network/FilePiece.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <span>
#include <sys/sendfile.h>
#include <sys/socket.h>

namespace quorvel::platform {

// None if it has sent something, and there may be more to send.
std::optional<FilePiece::Progress> FilePiece::sendSome(int socket) {
    off_t position = offset + static_cast<off_t>(done);
    ssize_t sent = 0;
    do {
        sent = ::sendfile(socket, file->descriptor(), &position, count - done);
    } while (sent < 0 && errno == EINTR);
    if (sent == 0) return Progress::complete;
    if (sent < 0 && errno == EAGAIN) return Progress::wouldBlock;
    if (sent < 0 && (errno == EPIPE || errno == ECONNRESET)) return Progress::failed;
    if (sent < 0) return Progress::needsDisk;
    done += static_cast<std::size_t>(sent);
    return std::nullopt;
}

FilePiece::Progress FilePiece::sendFromCache(int socket) {
    while (done < count) {
        if (!file->isCached(offset + static_cast<std::int64_t>(done), count - done))
            return Progress::needsDisk;
        const auto end = sendSome(socket);
        if (end) return *end;
    }
    return Progress::complete;
}

FilePiece::Progress FilePiece::sendFromDisk(int socket) {
    // Where the file has no page cache, sendfile(2) takes a short answer for its end, and its
    // EAGAIN may be the file's.
    if (!file->disk().isLocal) return sendByCopy(socket);
    while (done < count) {
        const auto end = sendSome(socket);
        if (end == Progress::needsDisk) return sendByCopy(socket);
        if (end) return *end;
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
        if (sent < 0 && errno == EINTR) continue;
        if (sent < 0) return errno == EAGAIN ? Progress::wouldBlock : Progress::failed;
        done += static_cast<std::size_t>(sent);
        // What was read in vain is read again when the socket has room for it.
        if (static_cast<std::size_t>(sent) < *got) return Progress::wouldBlock;
    }
    return Progress::complete;
}

} // namespace quorvel::platform
