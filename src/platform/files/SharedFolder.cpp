#include "platform/files/SharedFolder.h"

#include "platform/files/OpenRoot.h"
#include "platform/files/TextLookup.h"
#include "platform/text/Text.h"

#include <fcntl.h>
#include <optional>
#include <sys/stat.h>

namespace quorvel::platform {

namespace {

// O_NONBLOCK and O_NOCTTY are for a FIFO or a terminal that has replaced the file.
constexpr int forReading = O_RDONLY | O_NONBLOCK | O_NOCTTY | O_CLOEXEC;

ItemAttributes attributesFrom(const struct statx& status) {
    ItemAttributes attributes;
    if (S_ISREG(status.stx_mode)) attributes.kind = ItemKind::file;
    if (S_ISDIR(status.stx_mode)) attributes.kind = ItemKind::directory;
    attributes.size = static_cast<std::int64_t>(status.stx_size);
    attributes.modified = status.stx_mtime.tv_sec;
    return attributes;
}

constexpr unsigned wantedStatus = STATX_TYPE | STATX_SIZE | STATX_MTIME;

Result<Item> held(Descriptor descriptor) {
    struct statx status {};
    if (statx(descriptor.number(), "", AT_EMPTY_PATH, wantedStatus, &status) != 0) return failure();
    return Item{std::move(descriptor), attributesFrom(status), {}};
}

// Holding a file and then reopening it takes three times as long. But opening a FIFO wakes its
// writer and opening a device may start it, so the kind is checked before and after the open.
std::optional<Item> openedFile(const Descriptor& root, const std::string& path) {
    struct stat hint {};
    if (fstatat(root.number(), path.c_str(), &hint, AT_SYMLINK_NOFOLLOW) != 0) return std::nullopt;
    if (!S_ISREG(hint.st_mode)) return std::nullopt;
    Descriptor opened = openBeneath(root, path, forReading);
    if (!opened) return std::nullopt;
    auto item = held(std::move(opened));
    if (!item || item->attributes.kind != ItemKind::file) return std::nullopt;
    item->isReadable = true;
    return std::move(*item);
}

Result<Item> itemAt(const Descriptor& root, const std::string& path, Purpose purpose) {
    if (purpose == Purpose::reading)
        if (auto file = openedFile(root, path)) return std::move(*file);
    auto descriptor = holdBeneath(root, path);
    if (!descriptor) return std::unexpected(descriptor.error());
    auto item = held(std::move(*descriptor));
    if (item) item->path = path;
    return item;
}

void take(FolderEntry& entry, const ItemAttributes& attributes) {
    entry.isDirectory = attributes.kind == ItemKind::directory;
    entry.size = attributes.size;
    entry.modified = attributes.modified;
}

/// Reads one directory. Opens the root only when a link has to be followed.
class DirectoryReader {
  public:
    DirectoryReader(const SharedFolder& folder, const Item& directory, EntryDetail detail)
        : folder_(folder), directory_(directory), detail_(detail) {}

    Result<std::vector<FolderEntry>> read() {
        const auto stream = openDirectory(directory_.descriptor);
        if (!stream) return std::unexpected(stream.error());
        std::vector<FolderEntry> entries;
        while (const dirent* const found = readdir(stream->get()))
            if (found->d_name[0] != '.') entries.push_back(describe(*found));
        return entries;
    }

  private:
    FolderEntry describe(const dirent& found) {
        FolderEntry entry;
        entry.name = withInvalidUtf8Replaced(found.d_name);
        if (found.d_type == DT_LNK) {
            followLink(found.d_name, entry);
        } else if (detail_ == EntryDetail::kind && found.d_type != DT_UNKNOWN) {
            entry.isDirectory = found.d_type == DT_DIR;
        } else {
            askStatus(found.d_name, entry);
        }
        return entry;
    }

    void askStatus(const char* name, FolderEntry& entry) {
        struct statx status {};
        if (statx(directory_.descriptor.number(), name, AT_SYMLINK_NOFOLLOW | AT_NO_AUTOMOUNT,
                  wantedStatus, &status) != 0)
            return;
        if (S_ISLNK(status.stx_mode)) return followLink(name, entry);
        take(entry, attributesFrom(status));
    }

    void followLink(const char* name, FolderEntry& entry) {
        if (!root_) {
            root_ = openRoot(folder_.path()).value_or(nullptr);
            if (!root_) return;
        }
        const auto target =
            itemAt(root_->descriptor, directory_.path + '/' + name, Purpose::attributes);
        if (target) take(entry, target->attributes);
    }

    const SharedFolder& folder_;
    const Item& directory_;
    EntryDetail detail_;
    std::shared_ptr<const OpenRoot> root_;
};

} // namespace

Result<Item> SharedFolder::find(std::string_view relativePath, Purpose purpose) const {
    if (relativePath.find('\0') != std::string_view::npos) return failure(ENOENT);
    const auto root = openRoot(path_);
    if (!root) return std::unexpected(root.error());
    const std::string path(relativePath.empty() ? "." : relativePath);
    auto item = itemAt((*root)->descriptor, path, purpose);
    if (item || !mayBeText(item.error(), path)) return item;
    auto onDisk = pathOnDisk((*root)->descriptor, path);
    if (!onDisk) return std::unexpected(onDisk.error());
    return itemAt((*root)->descriptor, *onDisk, purpose);
}

Result<std::shared_ptr<const OpenFile>> SharedFolder::open(Item item) {
    if (item.attributes.kind != ItemKind::file) return failure(EINVAL);
    // Reopens the held item itself, so no path is resolved twice.
    if (!item.isReadable)
        item.descriptor = Descriptor(::open(procName(item.descriptor).c_str(), forReading));
    if (!item.descriptor) return failure();
    return std::make_shared<const OpenFile>(std::move(item.descriptor));
}

Result<std::vector<FolderEntry>> SharedFolder::entries(const Item& directory,
                                                       EntryDetail detail) const {
    return DirectoryReader(*this, directory, detail).read();
}

bool isDirectory(const std::string& path) {
    struct stat status {};
    return stat(path.c_str(), &status) == 0 && S_ISDIR(status.st_mode);
}

} // namespace quorvel::platform
