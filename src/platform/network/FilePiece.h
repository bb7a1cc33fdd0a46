#pragma once

#include "platform/files/OpenFile.h"

#include <cstddef>
#include <cstdint>
#include <memory>

namespace quorvel::platform {

/// A piece of a file on its way to a socket (sendfile(2)).
struct FilePiece {
    /// Complete also means that the file has ended early or cannot be read. `needsDisk`: the next
    /// bytes are to be sent by `sendFromDisk`. If it failed, errno says why.
    enum class Progress { complete, wouldBlock, needsDisk, failed };

    std::shared_ptr<const OpenFile> file;
    std::int64_t offset = 0;
    std::size_t count = 0;
    std::size_t done = 0;

    /// Sends what the page cache holds, as far as the socket takes it. Never waits.
    Progress sendFromCache(int socket);

    /// Sends as much as the socket takes without waiting for it, but may wait for the disk. For a
    /// thread that may. Serves file systems without sendfile too, by a copy.
    Progress sendFromDisk(int socket);

  private:
    Progress sendByKernel(int socket);
    Progress sendByCopy(int socket);
};

} // namespace quorvel::platform
