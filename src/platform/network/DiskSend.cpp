#include "platform/network/DiskSend.h"

#include <cerrno>
#include <sys/socket.h>
#include <utility>

namespace quorvel::platform {

DiskSend::DiskSend(WorkerPool& pool, const WorkOrigin& origin, FilePiece piece, int socket,
                   std::move_only_function<void(Result<Outcome>)> done) {
    work_ = pool.run<Outcome>(
        origin,
        [piece = std::move(piece), socket, kept = socket_]() mutable -> Result<Outcome> {
            const auto progress = piece.sendFromDisk(socket);
            return Outcome{std::move(piece), progress, errno};
        },
        std::move(done));
}

void DiskSend::abandon(WorkerPool& pool, Descriptor socket) {
    shutdown(socket.number(), SHUT_WR);
    *socket_ = std::move(socket);
    pool.cancel(work_);
}

} // namespace quorvel::platform
