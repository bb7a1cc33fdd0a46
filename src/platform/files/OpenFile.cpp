#include "platform/files/OpenFile.h"

#include <algorithm>
#include <sys/uio.h>
#include <unistd.h>

namespace quorvel::platform {

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

namespace {

// preadv2(2); negative if it would have to wait.
ssize_t readNow(int file, std::int64_t offset, std::span<char> into) {
    const iovec space{into.data(), into.size()};
    return preadv2(file, &space, 1, offset, RWF_NOWAIT);
}

} // namespace

std::size_t OpenFile::readCached(std::int64_t offset, std::span<char> into) const {
    if (!disk_.isLocal) return 0;
    return static_cast<std::size_t>(
        std::max<ssize_t>(readNow(descriptor_.number(), offset, into), 0));
}

bool OpenFile::isCached(std::int64_t offset, std::size_t count) const {
    if (!disk_.isLocal || count == 0) return false;
    char byte = 0;
    const auto last = offset + static_cast<std::int64_t>(count) - 1;
    return readNow(descriptor_.number(), offset, {&byte, 1}) >= 0 &&
           readNow(descriptor_.number(), last, {&byte, 1}) >= 0;
}

} // namespace quorvel::platform
