#pragma once

#include <string>
#include <system_error>

namespace quorvel::server {

/// What a server itself finds wrong at its start.
enum class ServerError { invalidPort = 1 };

/// "Invalid port number."
std::string errorDescription(ServerError error);

/// Lets a `ServerError` travel as any other error; its message is the description.
std::error_code make_error_code(ServerError error);

/// The one line that the user sees when listening fails.
std::string describeNetworkError(const std::error_code& error);

} // namespace quorvel::server

template <>
struct std::is_error_code_enum<quorvel::server::ServerError> : std::true_type {};
