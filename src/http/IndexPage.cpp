#include "http/IndexPage.h"

#include "server/PercentEncoding.h"

namespace quorvel::http {

namespace {

constexpr std::string_view pageStart =
    "<!doctype html><html><head><meta charset=\"utf-8\">"
    "<meta name=\"viewport\" content=\"width=device-width, initial-scale=1\">"
    "<title>Index of ";
constexpr std::string_view pageStyle =
    "</title>"
    "<style>body{font-family:-apple-system,system-ui,sans-serif;margin:2rem;line-height:1.6}"
    "a{text-decoration:none}a:hover{text-decoration:underline}.dir{font-weight:600}"
    "</style></head><body>"
    "<h2>Index of ";
constexpr std::string_view listStart = "</h2><ul>";
constexpr std::string_view parentItem = "<li><a href=\"../\">../</a></li>";
constexpr std::string_view pageEnd = "</ul></body></html>";

// The bytes of an item besides its name, which appears twice and grows when it is escaped.
constexpr std::size_t itemOverhead = 64;

void appendEscaped(std::string& to, std::string_view text) {
    for (const char c : text) {
        switch (c) {
        case '&':
            to += "&amp;";
            break;
        case '<':
            to += "&lt;";
            break;
        case '>':
            to += "&gt;";
            break;
        case '"':
            to += "&quot;";
            break;
        default:
            to += c;
        }
    }
}

void appendItem(std::string& page, const platform::FolderEntry& entry) {
    page += entry.isDirectory ? "<li><a class=\"dir\" href=\"" : "<li><a class=\"file\" href=\"";
    page += server::percentEncoded(entry.name, server::UrlPart::path);
    if (entry.isDirectory) page += '/';
    page += "\">";
    appendEscaped(page, entry.name);
    if (entry.isDirectory) page += '/';
    page += "</a></li>";
}

std::size_t estimatedSize(const std::vector<platform::FolderEntry>& entries) {
    std::size_t size = 1024;
    for (const auto& entry : entries)
        size += itemOverhead + 3 * entry.name.size();
    return size;
}

} // namespace

std::string htmlEscape(std::string_view text) {
    std::string result;
    appendEscaped(result, text);
    return result;
}

std::string displayPath(std::string_view decodedPath) {
    std::string path;
    if (!decodedPath.starts_with('/')) path += '/';
    path += decodedPath;
    if (!path.ends_with('/')) path += '/';
    return path;
}

std::string indexPage(const std::vector<platform::FolderEntry>& entries,
                      std::string_view decodedPath) {
    const std::string path = displayPath(decodedPath);
    const std::string title = htmlEscape(path);
    std::string page;
    page.reserve(estimatedSize(entries));
    page.append(pageStart).append(title).append(pageStyle).append(title).append(listStart);
    if (path != "/") page += parentItem;
    for (const auto& entry : entries)
        appendItem(page, entry);
    page += pageEnd;
    return page;
}

} // namespace quorvel::http
