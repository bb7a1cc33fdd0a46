#include "platform/files/OpenFile.h"

#include "platform/files/TurnHold.h"
#include "platform/network/WorkerPool.h"

#include <algorithm>
#include <cerrno>
#include <limits>
#include <new>
#include <sys/types.h>
#include <sys/uio.h>
#include <unistd.h>
#include <utility>

namespace quorvel::platform {

namespace {

// preadv2(2); negative if it would have to wait.
ssize_t readNow(int file, std::int64_t offset, std::span<char> into) {
    const iovec space{into.data(), into.size()};
    return preadv2(file, &space, 1, offset, RWF_NOWAIT);
}

} // namespace

OpenFile::~OpenFile() {
    if (disk_.isLocal) {
        if (TurnHold* const hold = TurnHold::ofThisThread())
            hold->keep(std::move(descriptor_), version_);
        return;
    }
    WorkerPool* const pool = WorkerPool::ofThisThread();
    if (pool == nullptr) return;
    try {
        pool->run<int>(
            {disk_.id, ""},
            [descriptor = std::move(descriptor_)]() mutable -> Result<int> {
                descriptor.reset();
                return 0;
            },
            [](Result<int>) {});
    } catch (const std::bad_alloc&) { // NOLINT(bugprone-empty-catch): closed all the same
    }
}

Result<std::size_t> OpenFile::read(std::int64_t offset, std::span<char> into) const {
    std::size_t done = 0;
    while (done < into.size()) {
        const ssize_t count = pread(descriptor_.number(), into.data() + done, into.size() - done,
                                    offset + static_cast<off_t>(done));
        if (count == 0) break;
        if (count < 0 && errno == EINTR) continue;
        if (count < 0) return failure();
        done += static_cast<std::size_t>(count);
    }
    return done;
}

std::size_t OpenFile::readCached(std::int64_t offset, std::span<char> into) const {
    if (!disk_.isLocal) return 0;
    return static_cast<std::size_t>(
        std::max<ssize_t>(readNow(descriptor_.number(), offset, into), 0));
}

bool OpenFile::isCached(std::int64_t offset, std::size_t count) const {
    if (!disk_.isLocal || count == 0) return false;
    char byte = 0;
    // An offset that clients choose may be any.
    const auto length = static_cast<std::int64_t>(count);
    const auto last =
        std::min(offset, std::numeric_limits<std::int64_t>::max() - length) + length - 1;
    return readNow(descriptor_.number(), offset, {&byte, 1}) >= 0 &&
           readNow(descriptor_.number(), last, {&byte, 1}) >= 0;
}

} // namespace quorvel::platform
