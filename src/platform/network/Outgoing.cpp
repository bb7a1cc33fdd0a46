#include "platform/network/Outgoing.h"

#include <cerrno>
#include <cstddef>
#include <sys/socket.h>
#include <sys/types.h>
#include <system_error>

namespace quorvel::platform {

Outgoing::Progress Outgoing::proceed(int socket) {
    return isPiece() ? piece.sendFromCache(socket) : sendText(socket);
}

Outgoing::Progress Outgoing::sendText(int socket) {
    const int flags = MSG_NOSIGNAL | (more == MoreToSend::yes ? MSG_MORE : 0);
    while (done < text.size()) {
        const ssize_t sent = ::send(socket, text.data() + done, text.size() - done, flags);
        if (sent >= 0)
            done += static_cast<std::size_t>(sent);
        else if (errno != EINTR)
            return errno == EAGAIN ? Progress::wouldBlock : Progress::failed;
    }
    return Progress::complete;
}

void Outgoing::report(std::error_code error) {
    if (handler) handler(error);
    if (fileHandler) fileHandler(error, piece.done);
}

} // namespace quorvel::platform
