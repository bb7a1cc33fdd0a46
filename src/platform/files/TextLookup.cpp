#include "platform/files/TextLookup.h"

#include "platform/text/Text.h"

#include <algorithm>
#include <cerrno>
#include <cstddef>
#include <dirent.h>
#include <expected>

namespace quorvel::platform {

namespace {

Result<std::string> nameOnDisk(const Descriptor& directory, std::string_view text) {
    const auto stream = openDirectory(directory);
    if (!stream) return std::unexpected(stream.error());
    std::string first;
    errno = 0;
    while (const dirent* const found = readdir(stream->get())) {
        const std::string_view name = found->d_name;
        // A link that leads nowhere has the name all the same.
        if (name == text) return std::string(name);
        if ((first.empty() || name < first) && withInvalidUtf8Replaced(name) == text) first = name;
    }
    if (errno != 0) return failure();
    if (first.empty()) return failure(ENOENT);
    return first;
}

} // namespace

bool mayBeText(const std::error_code& error, std::string_view path) {
    // A text may be three times as long as its name.
    const bool namesNothing =
        error == std::errc::no_such_file_or_directory || error == std::errc::filename_too_long;
    return namesNothing && path.contains("\uFFFD");
}

Result<std::string> pathOnDisk(const OpenRoot& root, std::string path) {
    std::size_t end = 0;
    for (std::size_t start = 0; start < path.size(); start = end + 1) {
        end = std::min(path.find('/', start), path.size());
        const std::string text = path.substr(start, end - start);
        if (!text.contains("\uFFFD")) continue;
        const auto asItStands = holdBeneath(root, path.substr(0, end), Lookup::onDisk);
        if (asItStands) continue;
        if (!mayBeText(asItStands.error(), text)) return std::unexpected(asItStands.error());
        const auto directory =
            holdBeneath(root, start == 0 ? "." : path.substr(0, start), Lookup::onDisk);
        if (!directory) return std::unexpected(directory.error());
        const auto name = nameOnDisk(*directory, text);
        if (!name) return std::unexpected(name.error());
        path.replace(start, text.size(), *name);
        end = start + name->size();
    }
    return path;
}

} // namespace quorvel::platform
