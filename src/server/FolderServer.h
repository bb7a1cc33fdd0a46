#pragma once

#include "platform/Result.h"

#include <functional>
#include <string>

namespace quorvel::server {

/// What the model knows of a file server. One object serves one start and one stop.
///
/// `start` and `stop` are called on the owner's thread, the callbacks on the server's queue.
/// Releasing the server object ends what is left of its connections.
class FolderServer {
  public:
    virtual ~FolderServer() = default;

    /// The server listens. Set before `start`.
    std::function<void()> onReady;
    /// Listening failed, with a message for the user; may come more than once.
    std::function<void(std::string)> onError;

    /// Success means only that listening was asked for. Fails with `ServerError` or with the
    /// system's error when no listener could be made.
    virtual platform::Result<> start() = 0;

    /// Never fails, calls neither callback, and may be called again.
    virtual void stop() = 0;
};

} // namespace quorvel::server
