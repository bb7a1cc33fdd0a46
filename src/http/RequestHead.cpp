#include "http/RequestHead.h"

#include "platform/text/Text.h"
#include "server/PercentEncoding.h"

namespace quorvel::http {

namespace {

constexpr std::string_view lineEnd = "\r\n";

std::string_view takeLine(std::string_view& rest) {
    const auto end = rest.find(lineEnd);
    const auto line = rest.substr(0, end);
    rest.remove_prefix(end == std::string_view::npos ? rest.size() : end + lineEnd.size());
    return line;
}

std::string_view takeWord(std::string_view& rest) {
    const auto start = rest.find_first_not_of(' ');
    if (start == std::string_view::npos) return {};
    rest.remove_prefix(start);
    const auto word = rest.substr(0, rest.find(' '));
    rest.remove_prefix(word.size());
    return word;
}

void readHeader(std::string_view line, RequestHead& head) {
    const auto colon = line.find(':');
    if (colon == std::string_view::npos) return;
    const std::string name = platform::lowerCased(platform::trimmed(line.substr(0, colon)));
    const std::string_view value = platform::trimmed(line.substr(colon + 1));
    if (name == "authorization") head.authorization = value;
    if (name == "range") head.range = value;
    if (name == "content-length" || name == "transfer-encoding") head.announcesBody = true;
}

} // namespace

std::optional<RequestHead> parseRequestHead(std::string_view head) {
    if (!platform::isValidUtf8(head)) return std::nullopt;
    std::string_view requestLine = takeLine(head);
    const auto method = takeWord(requestLine);
    const auto target = takeWord(requestLine);
    if (target.empty()) return std::nullopt;

    RequestHead result;
    result.method = platform::upperCased(method);
    result.target = target;
    while (!head.empty())
        readHeader(takeLine(head), result);
    return result;
}

std::string_view rawPath(std::string_view target) {
    const auto start = target.find_first_not_of('?');
    if (start == std::string_view::npos) return "/";
    target.remove_prefix(start);
    return target.substr(0, target.find('?'));
}

std::string decodedPath(std::string_view rawPath) {
    return server::percentDecoded(rawPath).value_or(std::string(rawPath));
}

} // namespace quorvel::http
