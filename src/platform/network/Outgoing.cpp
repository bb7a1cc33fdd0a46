#include "platform/network/Outgoing.h"

#include <algorithm>
#include <sys/sendfile.h>
#include <sys/socket.h>

namespace quorvel::platform {

Outgoing::Progress Outgoing::proceed(int socket, std::span<char> buffer) {
    if (file) return sendFromCache(socket, buffer);
    return sendBytes(socket, std::string_view(text).substr(done));
}

Outgoing::Progress Outgoing::sendBytes(int socket, std::string_view bytes) {
    const int flags = MSG_NOSIGNAL | (more == MoreToSend::yes ? MSG_MORE : 0);
    while (!bytes.empty()) {
        const ssize_t sent = ::send(socket, bytes.data(), bytes.size(), flags);
        if (sent >= 0) {
            done += static_cast<std::size_t>(sent);
            bytes.remove_prefix(static_cast<std::size_t>(sent));
        } else if (errno != EINTR) {
            return errno == EAGAIN ? Progress::wouldBlock : Progress::failed;
        }
    }
    return Progress::complete;
}

Outgoing::Progress Outgoing::sendFromCache(int socket, std::span<char> buffer) {
    while (done < count) {
        off_t position = offset + static_cast<off_t>(done);
        const ssize_t sent = ::sendfile(socket, file->descriptor(), &position, count - done);
        if (sent == 0) return Progress::complete;
        if (sent > 0) {
            done += static_cast<std::size_t>(sent);
        } else if (errno == EAGAIN && doneBeforeWait != done) {
            return Progress::wouldBlock;
        } else if (errno != EINTR) {
            // Also if the socket takes nothing after a wait for it: then the EAGAIN may be the
            // file's, and waiting for the socket again would spin.
            return sendByCopy(socket, buffer);
        }
    }
    return Progress::complete;
}

// Tells which side an error of sendfile came from: a failing read ends the file, a failing send
// ends the connection. Also serves file systems without sendfile.
Outgoing::Progress Outgoing::sendByCopy(int socket, std::span<char> buffer) {
    while (done < count) {
        const auto space = buffer.first(std::min(buffer.size(), count - done));
        const auto got = file->read(offset + static_cast<std::int64_t>(done), space);
        if (!got || *got == 0) return Progress::complete;
        const Progress progress = sendBytes(socket, {space.data(), *got});
        if (progress != Progress::complete) return progress;
    }
    return Progress::complete;
}

void Outgoing::report(std::error_code error) {
    if (handler) handler(error);
    if (fileHandler) fileHandler(error, done);
}

} // namespace quorvel::platform
