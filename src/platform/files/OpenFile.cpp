#include "platform/files/OpenFile.h"

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

} // namespace quorvel::platform
