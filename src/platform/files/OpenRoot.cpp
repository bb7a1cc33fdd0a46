#include "platform/files/OpenRoot.h"

#include "platform/files/LinkText.h"
#include "platform/files/OpenBeneath.h"
#include "platform/files/TurnHold.h"

#include <cerrno>
#include <expected>
#include <fcntl.h>
#include <sys/stat.h>
#include <sys/sysmacros.h>
#include <unistd.h>
#include <utility>

namespace quorvel::platform {

namespace {

// Held for good (proc(5)), because the path to it takes longer to look up than the item in it.
const Descriptor ownDescriptors(open("/proc/self/fd", O_PATH | O_DIRECTORY | O_CLOEXEC));

// As many links as the kernel follows in one path.
constexpr int linkLimit = 40;

} // namespace

Result<std::shared_ptr<const OpenRoot>> openRoot(const std::string& path, Lookup lookup) {
    TurnHold* const hold = TurnHold::ofThisThread();
    if (hold != nullptr && hold->root && hold->root->path == path) return hold->root;
    Descriptor descriptor = openFolder(path, lookup);
    if (!descriptor) return failure();
    // Of the attributes that the kernel has, because a file server would have to be asked for them.
    struct statx status{};
    if (statx(descriptor.number(), "", AT_EMPTY_PATH | AT_STATX_DONT_SYNC, STATX_TYPE, &status) !=
        0)
        return failure();
    const std::uint64_t disk = gnu_dev_makedev(status.stx_dev_major, status.stx_dev_minor);
    auto root = std::make_shared<const OpenRoot>(path, std::move(descriptor), disk);
    if (hold != nullptr) hold->root = root;
    return root;
}

Result<Descriptor> holdBeneath(const OpenRoot& root, const std::string& path, Lookup lookup) {
    Descriptor item = openBeneath(root.descriptor, path, O_PATH | O_CLOEXEC, lookup);
    if (item) return item;
    if (errno != EXDEV) return failure();
    if (lookup == Lookup::inCaches) return failure(EAGAIN);
    // The kernel stops at every absolute link, and at a relative one that climbs above the root.
    // Where it points may still be beneath the root, which its text tells.
    std::string next = path;
    for (int link = 0; link < linkLimit; ++link) {
        auto replaced = withLinkReplaced(root, next);
        if (!replaced) return std::unexpected(replaced.error());
        next = std::move(*replaced);
        item = openBeneath(root.descriptor, next, O_PATH | O_CLOEXEC, lookup);
        if (item) return item;
        if (errno != EXDEV) return failure();
    }
    return failure(ENOENT);
}

Descriptor reopened(const Descriptor& item, int flags) {
    const std::string name = std::to_string(item.number());
    return Descriptor(openat(ownDescriptors.number(), name.c_str(), flags));
}

Result<DirectoryStream> openDirectory(const Descriptor& directory) {
    Descriptor readable(openat(directory.number(), ".", O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    if (!readable) return failure();
    DirectoryStream stream(fdopendir(readable.number()), closedir);
    if (!stream) return failure();
    readable.release();
    return stream;
}

} // namespace quorvel::platform
