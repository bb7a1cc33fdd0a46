#pragma once

#include <cstdint>

namespace quorvel::platform {

/// One state of one file (statx(2)). Whoever may read it in that state may do so as long as it
/// lasts: a change of its owner, mode or access list makes another version.
struct FileVersion {
    std::uint64_t disk = 0;
    std::uint64_t inode = 0;
    std::uint32_t mode = 0;
    /// The time of the last change to the inode.
    std::int64_t seconds = 0;
    std::uint32_t nanoseconds = 0;

    bool operator==(const FileVersion&) const = default;
};

} // namespace quorvel::platform
