#pragma once

#include "platform/files/FolderEntry.h"

#include <cstddef>
#include <span>
#include <vector>

namespace quorvel::platform {

/// The indices of the entries in the order of their names, as a file manager shows them (file2
/// before file10, letter case ignored, the user's locale); stable, files and directories mixed.
std::vector<std::size_t> orderByName(std::span<const FolderEntry> entries);

} // namespace quorvel::platform
