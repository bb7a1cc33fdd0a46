#pragma once

#include "platform/files/SharedFolder.h"

#include <cstddef>
#include <vector>

namespace quorvel::bench {

/// A folder's entries in no order: names as cameras and people give them, every 20th a folder.
std::vector<platform::FolderEntry> folderEntries(std::size_t count);

} // namespace quorvel::bench
