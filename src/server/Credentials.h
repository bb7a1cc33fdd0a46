#pragma once

#include <string>

namespace quorvel::server {

/// The login that clients must give; the password is in clear text.
struct Credentials {
    std::string user;
    std::string pass;
};

} // namespace quorvel::server
