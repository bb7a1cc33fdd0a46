#include "server/FolderPath.h"

namespace quorvel::server {

std::string standardizedPath(std::string_view path) {
    std::string result;
    result.reserve(path.size());
    while (!path.empty()) {
        const auto end = path.find('/');
        const auto component = path.substr(0, end);
        path.remove_prefix(end == std::string_view::npos ? path.size() : end + 1);
        if (component.empty() || component == ".") continue;
        if (component == "..") {
            const auto last = result.rfind('/');
            result.resize(last == std::string::npos ? 0 : last);
            continue;
        }
        result += '/';
        result += component;
    }
    return result.empty() ? "/" : result;
}

bool isInside(std::string_view root, std::string_view path) {
    if (path == root || root == "/") return true;
    return path.size() > root.size() && path.starts_with(root) && path[root.size()] == '/';
}

std::string_view relativeTo(std::string_view root, std::string_view path) {
    if (path.size() <= root.size()) return {};
    return path.substr(root == "/" ? 1 : root.size() + 1);
}

std::string_view lastComponent(std::string_view path) {
    return path.substr(path.rfind('/') + 1);
}

} // namespace quorvel::server
