#pragma once

#include "model/ServerType.h"

#include <cstdint>
#include <optional>
#include <span>
#include <string>

namespace quorvel::serve {

/// What the command line asks for. The login is both texts or neither.
struct Options {
    model::ServerType type = model::ServerType::http;
    std::string folder;
    std::int64_t port = 0;
    std::optional<std::string> user;
    std::optional<std::string> pass;
};

inline constexpr auto usage =
    "usage: quorvel-serve --type http|ftp --folder DIR --port N [--user U --pass P]\n";

/// The options from the arguments after the program's name; none when one is unknown, missing,
/// or without a value that can be read. The folder comes back as an absolute path.
std::optional<Options> parseOptions(std::span<char* const> arguments);

} // namespace quorvel::serve
