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

inline constexpr auto usage = "usage: quorvel-serve --type http|ftp --folder DIR --port N "
                              "[--user U --pass P|--pass-file FILE]\n";

inline constexpr auto help = R"(
Shares one folder, read-only, until it is ended by Ctrl-C or SIGTERM.

  --type http|ftp  the protocol
  --folder DIR     the folder to share
  --port N         the TCP port, 1 to 65535
  --user U         the user name that clients must give
  --pass P         the password, which may be empty; every user of this system can see it
  --pass-file FILE the file whose first line is the password
  --help           show this help

Without --user anyone on the network can read the folder.
Exit status: 0 when ended, 1 when the start failed, 2 for wrong options.
)";

/// Parses the arguments after the program's name; none if one is unknown, missing or invalid. The
/// folder is made absolute.
std::optional<Options> parseOptions(std::span<char* const> arguments);

} // namespace quorvel::serve
