#pragma once

#include <cerrno>
#include <expected>
#include <string>
#include <system_error>

namespace quorvel::platform {

/// What an operation that may fail returns: the value, or the system's error.
template <class Value = void>
using Result = std::expected<Value, std::error_code>;

/// The failure for a POSIX code; without an argument, for the current errno.
inline std::unexpected<std::error_code> failure(int posixCode = errno) {
    return std::unexpected(std::error_code(posixCode, std::generic_category()));
}

/// "ECONNREFUSED" for ECONNREFUSED; the number in decimal for a code without a name
/// (strerrorname_np(3)).
std::string posixErrorName(int posixCode);

} // namespace quorvel::platform
