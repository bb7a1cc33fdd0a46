#pragma once

#include <string>

namespace quorvel::server {

/// The login that clients must give. Compared as text, the password in clear.
struct Credentials {
    std::string user;
    std::string pass;
};

} // namespace quorvel::server
