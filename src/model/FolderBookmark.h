#pragma once

#include "platform/files/SettingsStore.h"

#include <optional>
#include <string>

namespace quorvel::model {

/// An opaque token that finds the folder again: a version mark and the path. None if the path is
/// not absolute.
std::optional<platform::SettingsStore::Data> makeBookmark(const std::string& path);

/// The path in the token, whether or not the folder still exists; none if the token is invalid.
/// A path does not go stale, so tokens are never renewed.
std::optional<std::string> resolveBookmark(const platform::SettingsStore::Data& bookmark);

} // namespace quorvel::model
