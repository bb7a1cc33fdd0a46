#include "ftp/VirtualPath.h"

#include "server/FolderPath.h"

namespace quorvel::ftp {

namespace {

std::string joined(std::string_view folder, std::string_view path) {
    std::string result(folder);
    result += '/';
    result += path;
    return result;
}

} // namespace

std::string resolvePath(std::string_view workingDirectory, std::string_view argument) {
    if (argument.starts_with('/')) return server::standardizedPath(argument);
    return server::standardizedPath(joined(workingDirectory, argument));
}

std::string urlForVirtualPath(std::string_view root, std::string_view path) {
    return server::standardizedPath(joined(root, path));
}

} // namespace quorvel::ftp
