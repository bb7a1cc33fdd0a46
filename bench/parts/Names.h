#pragma once

#include "platform/files/FolderEntry.h"

#include <cstddef>

namespace quorvel::bench {

/// Shuffled entries with names as cameras and people give them; every 20th is a folder.
platform::EntryList folderEntries(std::size_t count);

} // namespace quorvel::bench
