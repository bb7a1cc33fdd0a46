#pragma once

#include "platform/Descriptor.h"
#include "platform/network/FilePiece.h"
#include "platform/network/WorkerPool.h"

#include <functional>
#include <memory>

namespace quorvel::platform {

/// A piece of a file on its way from a disk to a connection's socket, by a thread of the pool. The
/// socket never makes that thread wait. Used on the loop's thread.
class DiskSend {
  public:
    /// What the thread has done. `code` says why it failed.
    struct Outcome {
        FilePiece piece;
        FilePiece::Progress progress;
        int code;
    };

    /// Begins. The callback comes later, on the loop; ENOMEM if there is too little memory.
    DiskSend(WorkerPool& pool, const WorkOrigin& origin, FilePiece piece, int socket,
             std::move_only_function<void(Result<Outcome>)> done);

    /// The connection has ended: drops the callback, lets nothing more be sent, and closes the
    /// socket as soon as no thread uses it. Until then its number must not become another client's.
    void abandon(WorkerPool& pool, Descriptor socket);

  private:
    /// Owned together with the thread; empty unless the connection has ended.
    std::shared_ptr<Descriptor> socket_ = std::make_shared<Descriptor>();
    WorkerPool::Work work_;
};

} // namespace quorvel::platform
