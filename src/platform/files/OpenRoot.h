#pragma once

#include "platform/Descriptor.h"
#include "platform/Result.h"

#include <cstdint>
#include <dirent.h>
#include <memory>
#include <string>

namespace quorvel::platform {

/// A shared folder, open for lookups beneath it.
struct OpenRoot {
    std::string path;
    Descriptor descriptor;
    /// The number of its device.
    std::uint64_t disk = 0;
};

/// Whether a lookup may ask the disk, and wait for it, or only what the kernel has in its caches:
/// else it fails with EAGAIN (openat2(2), RESOLVE_CACHED).
enum class Lookup { onDisk, inCaches };

/// Opens the folder, or returns it if a `TurnHold` keeps it open on this thread.
Result<std::shared_ptr<const OpenRoot>> openRoot(const std::string& path, Lookup lookup);

/// Holds the item at a path beneath the root without opening it (O_PATH). Links that lead to a
/// place beneath the root work. Nothing outside is touched: what leads there fails with ENOENT, as
/// if it were missing. A lookup in caches also fails with EAGAIN for links that need more than the
/// kernel to follow, and at mounts within the folder, where other disks begin.
Result<Descriptor> holdBeneath(const OpenRoot& root, const std::string& path, Lookup lookup);

/// Opens what is held, itself, with the flags of open(2); none if that fails (errno).
Descriptor reopened(const Descriptor& item, int flags);

using DirectoryStream = std::unique_ptr<DIR, int (*)(DIR*)>;

/// Opens a held directory for readdir(3).
Result<DirectoryStream> openDirectory(const Descriptor& directory);

} // namespace quorvel::platform
