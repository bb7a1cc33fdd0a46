#pragma once

#include "platform/Result.h"
#include "platform/files/FolderEntry.h"
#include "platform/files/SharedFolder.h"

#include <string>

namespace quorvel::platform {

/// What `SharedFolder::entries` returns, of a directory that was found beneath the folder at the
/// path. Large directories are worked on by a second thread as well, which has ended on return.
Result<EntryList> readDirectory(const std::string& folderPath, const Item& directory,
                                EntryDetail detail, EntryOrder order);

} // namespace quorvel::platform
