#pragma once

#include "model/ServerType.h"

#include <cstdint>
#include <optional>
#include <span>
#include <string>

namespace quorvel::serve {

/// The parsed command line. `user` and `pass` are either both set or both none.
struct Options {
    model::ServerType type = model::ServerType::http;
    std::string folder;
    std::int64_t port = 0;
    std::optional<std::string> user;
    std::optional<std::string> pass;
};

inline constexpr auto usage =
    "usage: quorvel-serve --type http|ftp --folder DIR --port N [--user U --pass P]\n";

/// Parses the arguments after the program's name; none if one is unknown, missing or invalid. The
/// folder is made absolute.
std::optional<Options> parseOptions(std::span<char* const> arguments);

} // namespace quorvel::serve
