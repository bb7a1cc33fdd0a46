#pragma once

#include "platform/files/FolderEntry.h"

#include <span>
#include <string>

namespace quorvel::ftp {

/// LIST has a line in the format of "ls -l" for each entry, NLST its name.
enum class ListForm { lines, names };

/// The text of a listing, in the given order. Owner, group, link count and permissions are fixed
/// texts, dates are in the process's time zone.
std::string listingText(std::span<const platform::FolderEntry> entries, ListForm form);

} // namespace quorvel::ftp
