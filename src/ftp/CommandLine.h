#pragma once

#include <cstdint>
#include <optional>
#include <string_view>

namespace quorvel::ftp {

/// The bytes before the first line feed, which `input` then stands behind; none without one.
std::optional<std::string_view> takeLine(std::string_view& input);

/// The line without carriage returns at its ends; empty when it is not UTF-8.
std::string_view commandText(std::string_view line);

/// A line split at the first space after its verb. The argument keeps every further space.
struct CommandLine {
    std::string_view verb;
    std::string_view argument;
};
CommandLine splitCommandLine(std::string_view line);

/// The path among the arguments of LIST and NLST: the first word that does not begin with "-";
/// empty when there is none.
std::string_view listPath(std::string_view argument);

/// The offset that REST gives; none for anything but a decimal number from 0 to 2^63 - 1.
std::optional<std::int64_t> restartOffset(std::string_view argument);

} // namespace quorvel::ftp
