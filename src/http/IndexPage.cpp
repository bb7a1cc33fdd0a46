#include "http/IndexPage.h"

#include "server/PercentEncoding.h"

#include <cstddef>

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

constexpr std::string_view directoryStart = "<li><a class=\"dir\" href=\"";
constexpr std::string_view fileStart = "<li><a class=\"file\" href=\"";
constexpr std::string_view linkEnd = "\">";
constexpr std::string_view itemEnd = "</a></li>";

/// Empty if the character stands for itself.
constexpr std::string_view entityFor(char c) {
    switch (c) {
    case '&':
        return "&amp;";
    case '<':
        return "&lt;";
    case '>':
        return "&gt;";
    case '"':
        return "&quot;";
    default:
        return {};
    }
}

void appendEscaped(std::string& to, std::string_view text) {
    std::size_t done = 0;
    for (std::size_t i = 0; i < text.size(); ++i) {
        const auto entity = entityFor(text[i]);
        if (entity.empty()) continue;
        to.append(text, done, i - done).append(entity);
        done = i + 1;
    }
    to.append(text, done);
}

std::size_t escapedLength(std::string_view text) {
    std::size_t length = text.size();
    for (const char c : text)
        if (const auto entity = entityFor(c); !entity.empty()) length += entity.size() - 1;
    return length;
}

void appendItem(std::string& page, const platform::FolderEntry& entry) {
    const std::string_view slash = entry.isDirectory ? "/" : "";
    page += entry.isDirectory ? directoryStart : fileStart;
    server::appendPercentEncoded(page, entry.name, server::UrlPart::path);
    page.append(slash).append(linkEnd);
    appendEscaped(page, entry.name);
    page.append(slash).append(itemEnd);
}

std::size_t itemLength(const platform::FolderEntry& entry) {
    return (entry.isDirectory ? directoryStart.size() + 2 : fileStart.size()) +
           server::percentEncodedLength(entry.name, server::UrlPart::path) + linkEnd.size() +
           escapedLength(entry.name) + itemEnd.size();
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

void appendIndexPage(std::string& page, std::span<const platform::FolderEntry> entries,
                     std::string_view decodedPath) {
    const std::string path = displayPath(decodedPath);
    const std::string title = htmlEscape(path);
    page.reserve(page.size() + indexPageLength(entries, decodedPath));
    page.append(pageStart).append(title).append(pageStyle).append(title).append(listStart);
    if (path != "/") page += parentItem;
    for (const auto& entry : entries)
        appendItem(page, entry);
    page += pageEnd;
}

std::size_t indexPageLength(std::span<const platform::FolderEntry> entries,
                            std::string_view decodedPath) {
    const std::string path = displayPath(decodedPath);
    std::size_t length = pageStart.size() + pageStyle.size() + listStart.size() + pageEnd.size() +
                         2 * escapedLength(path);
    if (path != "/") length += parentItem.size();
    for (const auto& entry : entries)
        length += itemLength(entry);
    return length;
}

} // namespace quorvel::http
