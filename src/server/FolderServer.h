#pragma once

#include "platform/Result.h"

#include <functional>
#include <string>

namespace quorvel::server {

/// A file server as the model sees it. An object is started and stopped once.
///
/// `start` and `stop` are called on the owner's thread, the callbacks on the server's queue.
/// Releasing the server closes the connections that are left.
class FolderServer {
  public:
    virtual ~FolderServer() = default;

    /// Called when the server is listening. To be set before `start`, as `onError` is.
    std::function<void()> onReady;
    /// Called with a message for the user when listening has failed; possibly more than once.
    std::function<void(std::string)> onError;

    /// Success means only that listening was requested; the outcome is reported by the callbacks.
    /// Fails with a `ServerError`, or with the system's error if it cannot make a listener.
    virtual platform::Result<> start() = 0;

    /// Never fails and calls neither callback. Idempotent.
    virtual void stop() = 0;
};

} // namespace quorvel::server
