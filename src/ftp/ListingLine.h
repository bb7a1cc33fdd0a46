#pragma once

#include "ftp/DateText.h"
#include "platform/files/SharedFolder.h"

#include <string>

namespace quorvel::ftp {

/// Appends an entry's line of LIST in the format of "ls -l", with its line end. Owner, group, link
/// count and permissions are fixed texts.
void appendListingLine(std::string& listing, const platform::FolderEntry& entry,
                       ListingDateFormatter& dates);

} // namespace quorvel::ftp
