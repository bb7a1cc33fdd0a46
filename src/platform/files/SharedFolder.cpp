#include "platform/files/SharedFolder.h"

#include "platform/files/OpenRoot.h"

#include <array>
#include <dirent.h>
#include <fcntl.h>
#include <linux/openat2.h>
#include <optional>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace quorvel::platform {

namespace {

// RESOLVE_BENEATH fails with EAGAIN if a rename anywhere races with ".." in a link (openat2(2)).
constexpr int raceRetries = 64;

/// "/proc/self/fd/N", through which a held item can be reopened or its path be read.
class ProcName {
  public:
    explicit ProcName(const Descriptor& descriptor)
        : text_("/proc/self/fd/" + std::to_string(descriptor.number())) {}

    const char* text() const { return text_.c_str(); }

    std::optional<std::string> target() const {
        std::array<char, PATH_MAX + 1> buffer;
        const ssize_t length = readlink(text(), buffer.data(), buffer.size());
        if (length < 0 || static_cast<std::size_t>(length) >= buffer.size()) return std::nullopt;
        return std::string(buffer.data(), static_cast<std::size_t>(length));
    }

  private:
    std::string text_;
};

// O_NONBLOCK and O_NOCTTY are for a FIFO or a terminal that has replaced the file.
constexpr int forReading = O_RDONLY | O_NONBLOCK | O_NOCTTY | O_CLOEXEC;

using Resolution = decltype(open_how::resolve);

constexpr Resolution beneath = RESOLVE_BENEATH | RESOLVE_NO_MAGICLINKS;

Descriptor openResolved(const Descriptor& root, const std::string& path, int flags,
                        Resolution resolve) {
    open_how how{};
    how.flags = static_cast<decltype(how.flags)>(flags);
    how.resolve = resolve;
    for (int attempt = 0; attempt < raceRetries; ++attempt) {
        const long number = syscall(SYS_openat2, root.number(), path.c_str(), &how, sizeof how);
        if (number >= 0) return Descriptor(static_cast<int>(number));
        if (errno != EAGAIN && errno != EINTR) break;
    }
    return {};
}

bool liesBeneath(const Descriptor& root, const Descriptor& item) {
    const auto rootPath = ProcName(root).target();
    const auto itemPath = ProcName(item).target();
    if (!rootPath || !itemPath) return false;
    if (*rootPath == "/" || *itemPath == *rootPath) return true;
    return itemPath->starts_with(*rootPath) && (*itemPath)[rootPath->size()] == '/';
}

Result<Descriptor> openBeneath(const Descriptor& root, const std::string& path) {
    Descriptor item = openResolved(root, path, O_PATH | O_CLOEXEC, beneath);
    if (item) return item;
    if (errno != EXDEV) return failure();
    // An absolute link may still resolve inside: hold the item, then check where it is.
    item = openResolved(root, path, O_PATH | O_CLOEXEC, RESOLVE_NO_MAGICLINKS);
    if (!item) return failure();
    if (!liesBeneath(root, item)) return failure(ENOENT);
    return item;
}

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
    return Item{std::move(descriptor), attributesFrom(status)};
}

// Holding a file and then reopening it takes three times as long. But opening a FIFO wakes its
// writer and opening a device may start it, so the kind is checked before and after the open.
std::optional<Item> openedFile(const Descriptor& root, const std::string& path) {
    struct stat hint {};
    if (fstatat(root.number(), path.c_str(), &hint, AT_SYMLINK_NOFOLLOW) != 0) return std::nullopt;
    if (!S_ISREG(hint.st_mode)) return std::nullopt;
    Descriptor opened = openResolved(root, path, forReading, beneath);
    if (!opened) return std::nullopt;
    auto item = held(std::move(opened));
    if (!item || item->attributes.kind != ItemKind::file) return std::nullopt;
    item->isReadable = true;
    return std::move(*item);
}

void take(FolderEntry& entry, const ItemAttributes& attributes) {
    entry.isDirectory = attributes.kind == ItemKind::directory;
    entry.size = attributes.size;
    entry.modified = attributes.modified;
}

/// Reads one directory. Opens the root only when a link has to be followed.
class DirectoryReader {
  public:
    DirectoryReader(const SharedFolder& folder, std::string_view relativePath, EntryDetail detail)
        : folder_(folder), relativePath_(relativePath), detail_(detail) {}

    Result<std::vector<FolderEntry>> read(const Item& directory) {
        Descriptor readable(
            openat(directory.descriptor.number(), ".", O_RDONLY | O_DIRECTORY | O_CLOEXEC));
        if (!readable) return failure();
        DIR* const stream = fdopendir(readable.number());
        if (stream == nullptr) return failure();
        readable.release();
        std::vector<FolderEntry> entries;
        while (const dirent* const found = readdir(stream))
            if (found->d_name[0] != '.') entries.push_back(describe(dirfd(stream), *found));
        closedir(stream);
        return entries;
    }

  private:
    FolderEntry describe(int directory, const dirent& found) {
        FolderEntry entry;
        entry.name = found.d_name;
        if (found.d_type == DT_LNK) {
            followLink(entry);
        } else if (detail_ == EntryDetail::kind && found.d_type != DT_UNKNOWN) {
            entry.isDirectory = found.d_type == DT_DIR;
        } else {
            askStatus(directory, entry);
        }
        return entry;
    }

    void askStatus(int directory, FolderEntry& entry) {
        struct statx status {};
        if (statx(directory, entry.name.c_str(), AT_SYMLINK_NOFOLLOW | AT_NO_AUTOMOUNT,
                  wantedStatus, &status) != 0)
            return;
        if (S_ISLNK(status.stx_mode)) return followLink(entry);
        take(entry, attributesFrom(status));
    }

    void followLink(FolderEntry& entry) {
        if (!root_) {
            root_ = openRoot(folder_.path()).value_or(nullptr);
            if (!root_) return;
        }
        std::string path(relativePath_);
        if (!path.empty()) path += '/';
        auto target = openBeneath(root_->descriptor, path + entry.name);
        if (!target) return;
        if (const auto item = held(std::move(*target))) take(entry, item->attributes);
    }

    const SharedFolder& folder_;
    std::string_view relativePath_;
    EntryDetail detail_;
    std::shared_ptr<const OpenRoot> root_;
};

} // namespace

Result<Item> SharedFolder::find(std::string_view relativePath, Purpose purpose) const {
    if (relativePath.find('\0') != std::string_view::npos) return failure(ENOENT);
    const auto root = openRoot(path_);
    if (!root) return std::unexpected(root.error());
    const std::string path(relativePath.empty() ? "." : relativePath);
    if (purpose == Purpose::reading)
        if (auto file = openedFile((*root)->descriptor, path)) return std::move(*file);
    auto item = openBeneath((*root)->descriptor, path);
    if (!item) return std::unexpected(item.error());
    return held(std::move(*item));
}

Result<std::shared_ptr<const OpenFile>> SharedFolder::open(Item item) {
    if (item.attributes.kind != ItemKind::file) return failure(EINVAL);
    // Reopens the held item itself, so no path is resolved twice.
    if (!item.isReadable)
        item.descriptor = Descriptor(::open(ProcName(item.descriptor).text(), forReading));
    if (!item.descriptor) return failure();
    return std::make_shared<const OpenFile>(std::move(item.descriptor));
}

Result<std::vector<FolderEntry>> SharedFolder::entries(const Item& directory,
                                                       std::string_view relativePath,
                                                       EntryDetail detail) const {
    return DirectoryReader(*this, relativePath, detail).read(directory);
}

bool isDirectory(const std::string& path) {
    struct stat status {};
    return stat(path.c_str(), &status) == 0 && S_ISDIR(status.st_mode);
}

} // namespace quorvel::platform
