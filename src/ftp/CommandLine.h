#pragma once

#include <cstdint>
#include <optional>
#include <string_view>

namespace quorvel::ftp {

/// Removes the first line from the input and returns it without its line feed; none if the input
/// has no line feed.
std::optional<std::string_view> takeLine(std::string_view& input);

/// The line without carriage returns at its ends; empty if it is not UTF-8. The Telnet sequences
/// that clients send before ABOR are removed from its front (RFC 959, section 4.1.3).
std::string_view commandText(std::string_view line);

/// A line, split at the first space after its verb. The argument keeps all further spaces.
struct CommandLine {
    std::string_view verb;
    std::string_view argument;
};
CommandLine splitCommandLine(std::string_view line);

/// The path in the argument of LIST or NLST: the first word that does not begin with "-"; empty if
/// there is none.
std::string_view listPath(std::string_view argument);

/// The offset in the argument of REST; none unless it is a decimal number from 0 to 2^63 - 1.
std::optional<std::int64_t> restartOffset(std::string_view argument);

} // namespace quorvel::ftp
