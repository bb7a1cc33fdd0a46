#pragma once

#include "ftp/DateText.h"
#include "platform/files/SharedFolder.h"

#include <string>

namespace quorvel::ftp {

/// Appends one line of LIST in the form of "ls -l", with its line end: owner, group, link count
/// and permissions are the same for all.
void appendListingLine(std::string& listing, const platform::FolderEntry& entry,
                       ListingDateFormatter& dates);

} // namespace quorvel::ftp
