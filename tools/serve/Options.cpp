#include "Options.h"

#include "server/DecimalInteger.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <filesystem>
#include <fstream>
#include <map>
#include <string_view>
#include <system_error>

namespace quorvel::serve {

namespace {

using Values = std::map<std::string_view, std::string>;

constexpr std::array<std::string_view, 6> knownNames{"--type", "--folder", "--port",
                                                     "--user", "--pass",   "--pass-file"};

std::optional<Values> readValues(std::span<char* const> arguments) {
    if (arguments.size() % 2 != 0) return std::nullopt;
    Values values;
    for (std::size_t at = 0; at < arguments.size(); at += 2) {
        const std::string_view name = arguments[at];
        if (std::ranges::find(knownNames, name) == knownNames.end()) return std::nullopt;
        values[name] = arguments[at + 1];
    }
    return values;
}

std::optional<std::string> valueOf(const Values& values, std::string_view name) {
    const auto found = values.find(name);
    return found == values.end() ? std::nullopt : std::optional(found->second);
}

std::optional<std::string> passwordFrom(const Values& values) {
    const auto path = valueOf(values, "--pass-file");
    if (!path || values.contains("--pass")) return valueOf(values, "--pass");
    std::ifstream file(*path);
    std::string line;
    return std::getline(file, line) ? std::optional(line) : std::nullopt;
}

std::optional<model::ServerType> typeFrom(const std::optional<std::string>& scheme) {
    for (const auto type : model::allServerTypes)
        if (scheme == model::scheme(type)) return type;
    return std::nullopt;
}

std::string absolutePath(const std::string& path) {
    std::error_code unresolved;
    const auto absolute = std::filesystem::absolute(path, unresolved);
    return unresolved ? path : absolute.string();
}

} // namespace

std::optional<Options> parseOptions(std::span<char* const> arguments) {
    const auto values = readValues(arguments);
    if (!values) return std::nullopt;
    const auto type = typeFrom(valueOf(*values, "--type"));
    const auto folder = valueOf(*values, "--folder");
    const auto port = server::decimalInteger(valueOf(*values, "--port").value_or(""));
    const auto user = valueOf(*values, "--user");
    const auto pass = passwordFrom(*values);
    if (!type || !folder || !port || user.has_value() != pass.has_value()) return std::nullopt;
    return Options{*type, absolutePath(*folder), *port, user, pass};
}

} // namespace quorvel::serve
