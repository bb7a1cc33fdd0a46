#pragma once

#include <cerrno>
#include <expected>
#include <string>
#include <system_error>

namespace quorvel::platform {

/// The result of an operation that may fail: a value, or the system's error.
template <class Value = void>
using Result = std::expected<Value, std::error_code>;

/// The error result for a POSIX code, by default the current errno.
inline std::unexpected<std::error_code> failure(int posixCode = errno) {
    return std::unexpected(std::error_code(posixCode, std::generic_category()));
}

/// The symbolic name, such as "ECONNREFUSED" (strerrorname_np(3)), or the number in decimal for a
/// code without a name.
std::string posixErrorName(int posixCode);

} // namespace quorvel::platform
