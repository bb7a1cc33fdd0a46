#include "ftp/CommandLine.h"

#include "platform/text/Text.h"
#include "server/DecimalInteger.h"

#include <algorithm>

namespace quorvel::ftp {

namespace {

// Telnet's IAC IP and IAC DM (RFC 854).
constexpr std::string_view interruptProcess = "\xFF\xF4";
constexpr std::string_view dataMark = "\xFF\xF2";

} // namespace

std::optional<std::string_view> takeLine(std::string_view& input) {
    const auto end = input.find('\n');
    if (end == std::string_view::npos) return std::nullopt;
    const auto line = input.substr(0, end);
    input.remove_prefix(end + 1);
    return line;
}

std::string_view commandText(std::string_view line) {
    while (line.starts_with(interruptProcess) || line.starts_with(dataMark))
        line.remove_prefix(interruptProcess.size());
    if (!platform::isValidUtf8(line)) return {};
    while (line.starts_with('\r'))
        line.remove_prefix(1);
    while (line.ends_with('\r'))
        line.remove_suffix(1);
    return line;
}

CommandLine splitCommandLine(std::string_view line) {
    line.remove_prefix(std::min(line.find_first_not_of(' '), line.size()));
    const auto end = line.find(' ');
    if (end == std::string_view::npos) return {line, {}};
    return {line.substr(0, end), line.substr(end + 1)};
}

std::string_view listPath(std::string_view argument) {
    while (!argument.empty()) {
        const auto [word, rest] = splitCommandLine(argument);
        if (!word.starts_with('-')) return word;
        argument = rest;
    }
    return {};
}

std::optional<std::int64_t> restartOffset(std::string_view argument) {
    const auto offset = server::decimalInteger(argument);
    return offset && *offset >= 0 ? offset : std::nullopt;
}

} // namespace quorvel::ftp
