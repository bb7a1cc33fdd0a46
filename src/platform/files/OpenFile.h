#pragma once

#include "platform/Descriptor.h"
#include "platform/Result.h"
#include "platform/files/Disk.h"
#include "platform/files/FileVersion.h"

#include <cstddef>
#include <cstdint>
#include <span>
#include <utility>

namespace quorvel::platform {

/// A regular file open for reading; its last owner closes it. Reads take an offset, so there is no
/// shared position. Thread-safe.
class OpenFile {
  public:
    OpenFile(Descriptor descriptor, Disk disk, const FileVersion& version)
        : descriptor_(std::move(descriptor)), disk_(disk), version_(version) {}
    /// Leaves the file to the thread's `TurnHold`, if there is one. Closing may wait for the disk:
    /// on a loop's thread, a disk that is not local is left to the pool.
    ~OpenFile();
    OpenFile(const OpenFile&) = delete;
    OpenFile& operator=(const OpenFile&) = delete;

    /// Fills the span from the offset (pread(2)) and returns the number of bytes read: fewer only
    /// at the end of the file. May wait for the disk.
    Result<std::size_t> read(std::int64_t offset, std::span<char> into) const;

    /// The same from the page cache alone: fewer also where the cache ends. Never waits.
    std::size_t readCached(std::int64_t offset, std::span<char> into) const;

    /// Whether the first and the last of these bytes are in the page cache, or beyond the end of
    /// the file, so that sending them will hardly wait. False where the file system cannot tell
    /// (FAT, FUSE, most network file systems). Never waits.
    bool isCached(std::int64_t offset, std::size_t count) const;

    int descriptor() const { return descriptor_.number(); }
    const Disk& disk() const { return disk_; }

  private:
    Descriptor descriptor_;
    Disk disk_;
    FileVersion version_;
};

} // namespace quorvel::platform
