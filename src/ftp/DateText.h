#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <unordered_map>

namespace quorvel::ftp {

/// A time in seconds since 1970 UTC as "20240305140709" in UTC (RFC 3659, section 2.3); none if its
/// year is out of the C library's range.
std::optional<std::string> modificationTimeText(std::int64_t time);

/// Formats the dates of one listing as "Mar 07 09:15" in the process's time zone. Many files of a
/// folder share a minute, so each minute is converted once.
class ListingDateFormatter {
  public:
    /// The time is in seconds since 1970 UTC; one that is out of range shows as 1970.
    std::string text(std::int64_t time);

  private:
    std::unordered_map<std::int64_t, std::string> minutes_;
};

} // namespace quorvel::ftp
