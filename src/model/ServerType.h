#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <string_view>

namespace quorvel::model {

/// The protocol to serve.
enum class ServerType { http, ftp };

/// In the order pickers show them.
inline constexpr std::array allServerTypes{ServerType::http, ServerType::ftp};

/// "HTTP" or "FTP": the text shown to the user and the value stored in the settings.
std::string_view rawValue(ServerType type);

/// The type with exactly this raw value.
std::optional<ServerType> serverTypeFrom(std::string_view rawValue);

/// The URL scheme: "http" or "ftp".
std::string_view scheme(ServerType type);

/// The protocol's default port: 80 or 21.
std::int64_t defaultPort(ServerType type);

} // namespace quorvel::model
