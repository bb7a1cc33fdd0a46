#pragma once

#include "platform/files/SharedFolder.h"

#include <vector>

namespace quorvel::server {

/// Orders directory entries by name as a file manager does (file2 before file10, letter case
/// ignored, the user's locale); stable, files and directories mixed.
void sortByName(std::vector<platform::FolderEntry>& entries);

} // namespace quorvel::server
