#include "platform/files/OpenRoot.h"

#include <array>
#include <fcntl.h>
#include <linux/openat2.h>
#include <optional>
#include <sys/syscall.h>
#include <unistd.h>

namespace quorvel::platform {

namespace {

thread_local bool isHeld = false;
thread_local std::shared_ptr<const OpenRoot> heldRoot;

// RESOLVE_BENEATH fails with EAGAIN if a rename anywhere races with ".." in a link (openat2(2)).
constexpr int raceRetries = 64;

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

std::optional<std::string> pathOf(const Descriptor& item) {
    std::array<char, PATH_MAX + 1> buffer;
    const ssize_t length = readlink(procName(item).c_str(), buffer.data(), buffer.size());
    if (length < 0 || static_cast<std::size_t>(length) >= buffer.size()) return std::nullopt;
    return std::string(buffer.data(), static_cast<std::size_t>(length));
}

bool liesBeneath(const Descriptor& root, const Descriptor& item) {
    const auto rootPath = pathOf(root);
    const auto itemPath = pathOf(item);
    if (!rootPath || !itemPath) return false;
    if (*rootPath == "/" || *itemPath == *rootPath) return true;
    return itemPath->starts_with(*rootPath) && (*itemPath)[rootPath->size()] == '/';
}

} // namespace

Result<std::shared_ptr<const OpenRoot>> openRoot(const std::string& path) {
    if (heldRoot && heldRoot->path == path) return heldRoot;
    Descriptor descriptor(::open(path.c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC));
    if (!descriptor) return failure();
    auto root = std::make_shared<const OpenRoot>(path, std::move(descriptor));
    if (isHeld) heldRoot = root;
    return root;
}

Descriptor openBeneath(const Descriptor& root, const std::string& path, int flags) {
    return openResolved(root, path, flags, beneath);
}

Result<Descriptor> holdBeneath(const Descriptor& root, const std::string& path) {
    Descriptor item = openBeneath(root, path, O_PATH | O_CLOEXEC);
    if (item) return item;
    if (errno != EXDEV) return failure();
    // An absolute link may still resolve inside: hold the item, then check where it is.
    item = openResolved(root, path, O_PATH | O_CLOEXEC, RESOLVE_NO_MAGICLINKS);
    if (!item) return failure();
    if (!liesBeneath(root, item)) return failure(ENOENT);
    return item;
}

Result<DirectoryStream> openDirectory(const Descriptor& directory) {
    Descriptor readable(openat(directory.number(), ".", O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    if (!readable) return failure();
    DirectoryStream stream(fdopendir(readable.number()), closedir);
    if (!stream) return failure();
    readable.release();
    return stream;
}

std::string procName(const Descriptor& descriptor) {
    return "/proc/self/fd/" + std::to_string(descriptor.number());
}

RootHold::RootHold() {
    isHeld = true;
}

RootHold::~RootHold() {
    isHeld = false;
    heldRoot.reset();
}

} // namespace quorvel::platform
