#include "ftp/ListingText.h"

#include "ftp/DateText.h"

#include <cstddef>
#include <string_view>

namespace quorvel::ftp {

namespace {

constexpr std::string_view lineEnd = "\r\n";
constexpr std::size_t sizeColumns = 12;
// The bytes of a line of LIST besides the name; a little less for large sizes.
constexpr std::size_t lineOverhead = 53;

std::size_t expectedSize(std::span<const platform::FolderEntry> entries, ListForm form) {
    const std::size_t overhead = form == ListForm::lines ? lineOverhead : lineEnd.size();
    std::size_t size = 0;
    for (const auto& entry : entries)
        size += overhead + entry.name.size();
    return size;
}

void appendColumns(std::string& text, const platform::FolderEntry& entry,
                   ListingDateFormatter& dates) {
    text += entry.isDirectory ? "drwxr-xr-x 1 owner group " : "-rw-r--r-- 1 owner group ";
    const std::string size = std::to_string(entry.isDirectory ? 0 : entry.size);
    if (size.size() < sizeColumns) text.append(sizeColumns - size.size(), ' ');
    text += size;
    text += ' ';
    text += dates.text(entry.modified);
    text += ' ';
}

} // namespace

std::string listingText(std::span<const platform::FolderEntry> entries, ListForm form) {
    std::string text;
    text.reserve(expectedSize(entries, form));
    ListingDateFormatter dates;
    for (const auto& entry : entries) {
        if (form == ListForm::lines) appendColumns(text, entry, dates);
        text.append(entry.name).append(lineEnd);
    }
    return text;
}

} // namespace quorvel::ftp
