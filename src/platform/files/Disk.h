#pragma once

#include "platform/Descriptor.h"

#include <cstdint>

namespace quorvel::platform {

/// The disk that an item lies on.
struct Disk {
    /// The device number (stat(2)).
    std::uint64_t id = 0;
    /// Whether the kernel keeps the attributes of a held item in memory and tells which bytes of a
    /// file it has in its page cache. Where a server or another program answers for each item, as
    /// with NFS and FUSE, any question may wait.
    bool isLocal = false;
};

/// Whether the item's file system is known to be local (statfs(2)). May wait for the disk.
bool isOnLocalDisk(const Descriptor& item);

} // namespace quorvel::platform
