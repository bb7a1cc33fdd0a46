#include "server/ServerError.h"

#include "platform/Result.h"

#include <cerrno>

namespace quorvel::server {

namespace {

class ServerErrorCategory final : public std::error_category {
  public:
    const char* name() const noexcept override { return "server"; }
    std::string message(int code) const override {
        return errorDescription(static_cast<ServerError>(code));
    }
};

} // namespace

std::string errorDescription(ServerError error) {
    switch (error) {
    case ServerError::invalidPort:
        return "Invalid port number.";
    }
    return {};
}

std::error_code make_error_code(ServerError error) {
    static const ServerErrorCategory category;
    return {static_cast<int>(error), category};
}

std::string describeNetworkError(const std::error_code& error) {
    const bool isPosix =
        error.category() == std::generic_category() || error.category() == std::system_category();
    if (!isPosix) return error.message();
    switch (error.value()) {
    case EACCES:
        return "Permission denied — try a port above 1024.";
    case EADDRNOTAVAIL:
        return "The address is not available.";
    case EADDRINUSE:
        return "That port is already in use.";
    default:
        return "Network error (" + platform::posixErrorName(error.value()) + ").";
    }
}

} // namespace quorvel::server
