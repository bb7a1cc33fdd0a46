#pragma once

#include "platform/files/SettingsStore.h"

#include <optional>
#include <string>

namespace quorvel::model {

/// A token that finds the folder again: for its readers opaque, inside a mark of the version and
/// the path. None for what is not an absolute path.
std::optional<platform::SettingsStore::Data> makeBookmark(const std::string& path);

/// The path in the token, whether or not a folder is still there; none when the token cannot be
/// read. A path never goes out of date, so that no token needs renewing.
std::optional<std::string> resolveBookmark(const platform::SettingsStore::Data& bookmark);

} // namespace quorvel::model
