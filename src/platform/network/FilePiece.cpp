#include "platform/network/FilePiece.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <span>
#include <sys/sendfile.h>
#include <sys/socket.h>
#include <sys/types.h>

namespace quorvel::platform {

FilePiece::Progress FilePiece::sendByKernel(int socket) {
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
    // Fewer bytes than there are: the socket is full. At the end of the file a wait for it ends at
    // once.
    return done == count ? Progress::complete : Progress::wouldBlock;
}

FilePiece::Progress FilePiece::sendFromCache(int socket) {
    if (done == count) return Progress::complete;
    const auto next = offset + static_cast<std::int64_t>(done);
    return file->isCached(next, count - done) ? sendByKernel(socket) : Progress::needsDisk;
}

FilePiece::Progress FilePiece::sendFromDisk(int socket) {
    // Where the file has no page cache, sendfile(2) takes a short answer for its end, and its
    // EAGAIN may be the file's.
    if (!file->disk().isLocal) return sendByCopy(socket);
    const auto progress = sendByKernel(socket);
    return progress == Progress::needsDisk ? sendByCopy(socket) : progress;
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
