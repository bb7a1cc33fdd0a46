#pragma once

#include <string>
#include <system_error>
#include <type_traits>

namespace quorvel::server {

/// The errors that a server itself returns from `start`.
enum class ServerError { invalidPort = 1 };

/// "Invalid port number."
std::string errorDescription(ServerError error);

/// Makes a `ServerError` usable as a std::error_code, whose message is the description.
std::error_code make_error_code(ServerError error);

/// The one-line message for the user when listening fails.
std::string describeNetworkError(const std::error_code& error);

} // namespace quorvel::server

template <>
struct std::is_error_code_enum<quorvel::server::ServerError> : std::true_type {};
