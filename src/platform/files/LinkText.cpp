#include "platform/files/LinkText.h"

#include "platform/files/OpenBeneath.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <climits>
#include <fcntl.h>
#include <filesystem>
#include <unistd.h>

namespace quorvel::platform {

namespace {

using Path = std::filesystem::path;

std::optional<std::string> linkText(int folder, const char* name) {
    std::array<char, PATH_MAX + 1> buffer;
    const ssize_t length = readlinkat(folder, name, buffer.data(), buffer.size());
    if (length < 0 || static_cast<std::size_t>(length) >= buffer.size()) return std::nullopt;
    return std::string(buffer.data(), static_cast<std::size_t>(length));
}

/// Where a held item is (proc(5)).
std::optional<std::string> placeOf(const Descriptor& item) {
    const std::string name = "/proc/self/fd/" + std::to_string(item.number());
    return linkText(AT_FDCWD, name.c_str());
}

/// The path relative to the folder; none if it is not beneath it.
std::optional<Path> relativeTo(const Path& folder, const Path& target) {
    const Path relative = target.lexically_relative(folder);
    if (relative.empty() || *relative.begin() == "..") return std::nullopt;
    return relative;
}

/// What the link's text names, relative to the root.
std::optional<Path> targetBeneath(const OpenRoot& root, const std::string& text,
                                  const std::string& parent) {
    const auto rootPlace = placeOf(root.descriptor);
    const Descriptor folder =
        openBeneath(root.descriptor, parent, O_PATH | O_CLOEXEC, Lookup::onDisk);
    const auto folderPlace = folder ? placeOf(folder) : std::nullopt;
    if (!rootPlace || !folderPlace) return std::nullopt;
    // An absolute text replaces the folder's place.
    const Path target = (Path(*folderPlace) / text).lexically_normal();
    if (auto relative = relativeTo(*rootPlace, target)) return relative;
    // The text may name the root by the path that the user chose, with links in it.
    return relativeTo(root.path, target);
}

} // namespace

std::optional<std::string> withLinkReplaced(const OpenRoot& root, const std::string& path) {
    std::size_t end = 0;
    for (std::size_t start = 0; start < path.size(); start = end + 1) {
        end = std::min(path.find('/', start), path.size());
        const std::string upTo = path.substr(0, end);
        if (openBeneath(root.descriptor, upTo, O_PATH | O_CLOEXEC, Lookup::onDisk)) continue;
        if (errno != EXDEV) return std::nullopt;
        const Descriptor link =
            openBeneath(root.descriptor, upTo, O_PATH | O_NOFOLLOW | O_CLOEXEC, Lookup::onDisk);
        const auto text = link ? linkText(link.number(), "") : std::nullopt;
        if (!text) return std::nullopt;
        const auto target = targetBeneath(root, *text, start == 0 ? "." : path.substr(0, start));
        if (!target) return std::nullopt;
        return end == path.size() ? *target : *target / path.substr(end + 1);
    }
    return std::nullopt;
}

} // namespace quorvel::platform
