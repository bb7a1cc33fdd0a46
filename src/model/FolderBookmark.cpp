#include "model/FolderBookmark.h"

#include <string_view>
#include <utility>

namespace quorvel::model {

namespace {

constexpr std::string_view versionMark = "QVB1";

bool namesFolder(std::string_view path) {
    return path.starts_with('/') && path.find('\0') == std::string_view::npos;
}

} // namespace

std::optional<platform::SettingsStore::Data> makeBookmark(const std::string& path) {
    if (!namesFolder(path)) return std::nullopt;
    platform::SettingsStore::Data bookmark(versionMark.begin(), versionMark.end());
    bookmark.insert(bookmark.end(), path.begin(), path.end());
    return bookmark;
}

std::optional<std::string> resolveBookmark(const platform::SettingsStore::Data& bookmark) {
    std::string text(bookmark.begin(), bookmark.end());
    if (!text.starts_with(versionMark)) return std::nullopt;
    text.erase(0, versionMark.size());
    return namesFolder(text) ? std::optional(std::move(text)) : std::nullopt;
}

} // namespace quorvel::model
