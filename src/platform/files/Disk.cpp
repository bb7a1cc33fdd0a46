#include "platform/files/Disk.h"

#include <algorithm>
#include <cstdint>
#include <iterator>
#include <sys/statfs.h>
#include <sys/vfs.h>

namespace quorvel::platform {

namespace {

// The f_type of the file systems that keep their items' attributes in memory (statfs(2),
// linux/magic.h). An unknown one is taken for one that may wait.
constexpr std::uint32_t localTypes[] = {
    0x0000EF53, // ext2, ext3, ext4
    0x58465342, // XFS
    0x9123683E, // Btrfs
    0xF2F52010, // F2FS
    0x00003434, // NILFS
    0x3153464A, // JFS
    0xCA451A4E, // bcachefs
    0x2FC12FC1, // ZFS
    0x794C7630, // overlayfs
    0x01021994, // tmpfs
    0x858458F6, // ramfs
    0x00004D44, // FAT
    0x2011BAB0, // exFAT
    0x7366746E, // NTFS, in the kernel
    0x0000482B, // HFS+
    0x00009660, // ISO 9660
    0x15013346, // UDF
    0x73717368, // squashfs
    0xE0F5E1E2, // EROFS
};

} // namespace

bool isOnLocalDisk(const Descriptor& item) {
    struct statfs status{};
    if (fstatfs(item.number(), &status) != 0) return false;
    const auto type = static_cast<std::uint32_t>(status.f_type);
    return std::ranges::find(localTypes, type) != std::end(localTypes);
}

} // namespace quorvel::platform
