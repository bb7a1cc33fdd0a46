#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <unordered_map>

namespace quorvel::ftp {

/// The time in UTC as "20240305140709" (RFC 3659, section 2.3); none beyond the calendar. Seconds
/// since 1970 UTC, here and below.
std::optional<std::string> modificationTimeText(std::int64_t time);

/// Dates of one listing, "Mar 07 09:15" in the process's time zone. Many files of a folder share
/// their minute, so each minute is converted once.
class ListingDateFormatter {
  public:
    /// A time beyond the calendar shows as 1970.
    std::string text(std::int64_t time);

  private:
    std::unordered_map<std::int64_t, std::string> minutes_;
};

} // namespace quorvel::ftp
