#include "platform/files/LinkText.h"

#include "platform/files/OpenBeneath.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <climits>
#include <cstddef>
#include <fcntl.h>
#include <filesystem>
#include <optional>
#include <sys/types.h>
#include <unistd.h>
#include <vector>

namespace quorvel::platform {

namespace {

using Path = std::filesystem::path;

Result<std::string> linkText(int folder, const char* name) {
    std::array<char, PATH_MAX + 1> buffer;
    const ssize_t length = readlinkat(folder, name, buffer.data(), buffer.size());
    if (length < 0) return failure();
    if (static_cast<std::size_t>(length) >= buffer.size()) return failure(ENAMETOOLONG);
    return std::string(buffer.data(), static_cast<std::size_t>(length));
}

/// Where a held item is (proc(5)).
Result<std::string> placeOf(const Descriptor& item) {
    const std::string name = "/proc/self/fd/" + std::to_string(item.number());
    return linkText(AT_FDCWD, name.c_str());
}

/// What follows the last place at which the path enters the folder, as far as its text tells; none
/// if it ends outside. What follows is left as it stands: ".." behind a link goes up from where
/// that leads.
std::optional<std::string> behind(const Path& folder, const Path& path) {
    const std::vector<Path> entrance(folder.begin(), folder.end());
    std::vector<Path> at;
    std::optional<std::string> rest;
    for (const Path& component : path) {
        if (component.empty() || component == ".") continue;
        if (component != "..")
            at.push_back(component);
        else if (at.size() > 1)
            at.pop_back();
        const bool isInside = at.size() >= entrance.size() &&
                              std::equal(entrance.begin(), entrance.end(), at.begin());
        if (!isInside)
            rest.reset();
        else if (!rest)
            rest = "";
        else
            rest->append(rest->empty() ? "" : "/").append(component.string());
    }
    return rest;
}

/// What the link's text names, relative to the root.
Result<std::string> targetBeneath(const OpenRoot& root, const std::string& text,
                                  const std::string& parent) {
    const Descriptor folder =
        openBeneath(root.descriptor, parent, O_PATH | O_CLOEXEC, Lookup::onDisk);
    if (!folder) return failure();
    const auto rootPlace = placeOf(root.descriptor);
    if (!rootPlace) return rootPlace;
    const auto folderPlace = placeOf(folder);
    if (!folderPlace) return folderPlace;
    // An absolute text replaces the folder's place.
    const Path target = Path(*folderPlace) / text;
    if (auto relative = behind(*rootPlace, target)) return *relative;
    // The text may name the root by the path that the user chose, with links in it.
    if (auto relative = behind(root.path, target)) return *relative;
    return failure(ENOENT);
}

} // namespace

Result<std::string> withLinkReplaced(const OpenRoot& root, const std::string& path) {
    std::size_t end = 0;
    for (std::size_t start = 0; start < path.size(); start = end + 1) {
        end = std::min(path.find('/', start), path.size());
        const std::string upTo = path.substr(0, end);
        if (openBeneath(root.descriptor, upTo, O_PATH | O_CLOEXEC, Lookup::onDisk)) continue;
        if (errno != EXDEV) return failure();
        const Descriptor link =
            openBeneath(root.descriptor, upTo, O_PATH | O_NOFOLLOW | O_CLOEXEC, Lookup::onDisk);
        // A path that climbs out without any link leads out, too.
        if (!link) return failure(errno == EXDEV ? ENOENT : errno);
        const auto text = linkText(link.number(), "");
        if (!text) return failure(text.error().value() == EINVAL ? ENOENT : text.error().value());
        const auto target = targetBeneath(root, *text, start == 0 ? "." : path.substr(0, start));
        if (!target) return target;
        return (target->empty() ? "." : *target) + path.substr(end);
    }
    return failure(ENOENT);
}

} // namespace quorvel::platform
