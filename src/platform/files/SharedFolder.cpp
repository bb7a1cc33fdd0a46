#include "platform/files/SharedFolder.h"

#include "platform/files/DirectoryReader.h"
#include "platform/files/OpenRoot.h"
#include "platform/files/TextLookup.h"
#include "platform/files/TurnHold.h"

#include <cerrno>
#include <expected>
#include <fcntl.h>
#include <optional>
#include <sys/stat.h>
#include <sys/sysmacros.h>
#include <utility>

namespace quorvel::platform {

namespace {

ItemAttributes attributesFrom(const struct statx& status) {
    ItemAttributes attributes;
    if (S_ISREG(status.stx_mode)) attributes.kind = ItemKind::file;
    if (S_ISDIR(status.stx_mode)) attributes.kind = ItemKind::directory;
    attributes.size = static_cast<std::int64_t>(status.stx_size);
    attributes.modified = status.stx_mtime.tv_sec;
    return attributes;
}

FileVersion versionFrom(const struct statx& status, const Disk& disk) {
    return {disk.id, status.stx_ino, status.stx_mode, status.stx_ctime.tv_sec,
            status.stx_ctime.tv_nsec};
}

constexpr unsigned wantedStatus =
    STATX_TYPE | STATX_MODE | STATX_SIZE | STATX_MTIME | STATX_CTIME | STATX_INO;

// Few enough for a client not to fill the pool's books by asking for more and more names; many
// enough that two of a folder's entries hardly ever share a number.
constexpr std::uint64_t countedDisks = 1024;

/// The attributes of what is held, of which a local disk keeps them in memory.
Result<Item> described(Descriptor descriptor, std::string path, bool isLocal) {
    struct statx status{};
    if (statx(descriptor.number(), "", AT_EMPTY_PATH, wantedStatus, &status) != 0) return failure();
    const Disk disk{gnu_dev_makedev(status.stx_dev_major, status.stx_dev_minor), isLocal};
    return Item{std::move(descriptor), attributesFrom(status), std::move(path), disk,
                versionFrom(status, disk)};
}

Descriptor openedForReading(const Item& item) {
    TurnHold* const hold = TurnHold::ofThisThread();
    if (hold != nullptr) {
        Descriptor kept = hold->take(item.version);
        if (kept) return kept;
    }
    // Reading changes nothing on the disk, not even the time of the last access, if the file is the
    // user's own (open(2), O_NOATIME).
    constexpr int flags = O_RDONLY | O_NONBLOCK | O_CLOEXEC;
    Descriptor readable = reopened(item.descriptor, flags | O_NOATIME);
    return readable || errno != EPERM ? std::move(readable) : reopened(item.descriptor, flags);
}

// The kind is known before anything is opened, because opening a FIFO wakes its writer and opening
// a device may start it.
void makeReadable(Item& item) {
    if (item.attributes.kind != ItemKind::file) return;
    Descriptor readable = openedForReading(item);
    if (readable)
        item.file = std::make_shared<const OpenFile>(std::move(readable), item.disk, item.version);
    else
        item.file = failure();
}

Result<Item> itemAt(const OpenRoot& root, const std::string& path, Purpose purpose) {
    auto descriptor = holdBeneath(root, path, Lookup::onDisk);
    if (!descriptor) return std::unexpected(descriptor.error());
    const bool isLocal = isOnLocalDisk(*descriptor);
    auto item = described(std::move(*descriptor), path, isLocal);
    if (item && purpose == Purpose::reading) makeReadable(*item);
    return item;
}

/// A path as openat2(2) takes it; none if it cannot name anything.
std::optional<std::string> pathBeneath(std::string_view relativePath) {
    if (relativePath.contains('\0')) return std::nullopt;
    return std::string(relativePath.empty() ? "." : relativePath);
}

} // namespace

SharedFolder::SharedFolder(std::string path)
    : path_(std::move(path)), localDisk_(std::make_shared<std::atomic<std::uint64_t>>(0)) {}

Result<Item> SharedFolder::find(std::string_view relativePath, Purpose purpose) const {
    const auto path = pathBeneath(relativePath);
    if (!path) return failure(ENOENT);
    const auto root = openRoot(path_, Lookup::onDisk);
    if (!root) return std::unexpected(root.error());
    *localDisk_ = isOnLocalDisk((*root)->descriptor) ? (*root)->disk : 0;
    auto item = itemAt(**root, *path, purpose);
    if (item || !mayBeText(item.error(), *path)) return item;
    auto onDisk = pathOnDisk(**root, *path);
    if (!onDisk) return std::unexpected(onDisk.error());
    return itemAt(**root, *onDisk, purpose);
}

std::optional<Result<Item>> SharedFolder::findCached(std::string_view relativePath,
                                                     Purpose purpose) const {
    const std::uint64_t localDisk = *localDisk_;
    if (localDisk == 0) return std::nullopt;
    const auto path = pathBeneath(relativePath);
    if (!path) return failure(ENOENT);
    const auto root = openRoot(path_, Lookup::inCaches);
    // Another disk may have been mounted there meanwhile.
    if (root && (*root)->disk != localDisk) return std::nullopt;
    auto descriptor = root ? holdBeneath(**root, *path, Lookup::inCaches)
                           : Result<Descriptor>(std::unexpected(root.error()));
    if (!descriptor) {
        const auto& error = descriptor.error();
        if (error.value() == EAGAIN || mayBeText(error, *path)) return std::nullopt;
        return std::unexpected(error);
    }
    auto item = described(std::move(*descriptor), *path, true);
    if (item && purpose == Purpose::reading) makeReadable(*item);
    return item;
}

std::uint64_t SharedFolder::diskOf(std::string_view relativePath) {
    const auto first = relativePath.substr(0, relativePath.find('/'));
    // Counted down from the largest number, where no device has its own.
    return ~(std::hash<std::string_view>{}(first) % countedDisks);
}

Result<std::shared_ptr<const OpenFile>> SharedFolder::open(const Item& item) {
    return item.attributes.kind == ItemKind::file ? item.file : failure(EINVAL);
}

Result<EntryList> SharedFolder::entries(const Item& directory, EntryDetail detail,
                                        EntryOrder order) const {
    return readDirectory(path_, directory, detail, order);
}

bool isDirectory(const std::string& path) {
    struct stat status{};
    return stat(path.c_str(), &status) == 0 && S_ISDIR(status.st_mode);
}

} // namespace quorvel::platform
