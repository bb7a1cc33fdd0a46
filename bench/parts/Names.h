#pragma once

#include "platform/files/SharedFolder.h"

#include <cstddef>
#include <vector>

namespace quorvel::bench {

/// Shuffled entries with names as cameras and people give them; every 20th is a folder.
std::vector<platform::FolderEntry> folderEntries(std::size_t count);

} // namespace quorvel::bench
