#include "ftp/ListingLine.h"

namespace quorvel::ftp {

namespace {

constexpr std::size_t sizeColumns = 12;

} // namespace

void appendListingLine(std::string& listing, const platform::FolderEntry& entry,
                       ListingDateFormatter& dates) {
    listing += entry.isDirectory ? "drwxr-xr-x" : "-rw-r--r--";
    listing += " 1 owner group ";
    const std::string size = std::to_string(entry.isDirectory ? 0 : entry.size);
    if (size.size() < sizeColumns) listing.append(sizeColumns - size.size(), ' ');
    listing += size;
    listing += ' ';
    listing += dates.text(entry.modified);
    listing += ' ';
    listing += entry.name;
    listing += "\r\n";
}

} // namespace quorvel::ftp
