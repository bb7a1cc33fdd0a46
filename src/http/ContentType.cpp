#include "http/ContentType.h"

#include "platform/text/Text.h"

#include <algorithm>
#include <array>
#include <string>

namespace quorvel::http {

namespace {

struct KnownType {
    std::string_view extension;
    std::string_view value;
};

constexpr std::array knownTypes{
    KnownType{"html", "text/html; charset=utf-8"},
    KnownType{"htm", "text/html; charset=utf-8"},
    KnownType{"css", "text/css; charset=utf-8"},
    KnownType{"js", "application/javascript; charset=utf-8"},
    KnownType{"mjs", "application/javascript; charset=utf-8"},
    KnownType{"json", "application/json; charset=utf-8"},
    KnownType{"txt", "text/plain; charset=utf-8"},
    KnownType{"log", "text/plain; charset=utf-8"},
    KnownType{"md", "text/plain; charset=utf-8"},
    KnownType{"xml", "application/xml; charset=utf-8"},
    KnownType{"pdf", "application/pdf"},
    KnownType{"png", "image/png"},
    KnownType{"jpg", "image/jpeg"},
    KnownType{"jpeg", "image/jpeg"},
    KnownType{"gif", "image/gif"},
    KnownType{"webp", "image/webp"},
    KnownType{"svg", "image/svg+xml"},
    KnownType{"heic", "image/heic"},
    KnownType{"mp4", "video/mp4"},
    KnownType{"m4v", "video/mp4"},
    KnownType{"mov", "video/quicktime"},
    KnownType{"mkv", "video/x-matroska"},
    KnownType{"webm", "video/webm"},
    KnownType{"mp3", "audio/mpeg"},
    KnownType{"m4a", "audio/mp4"},
    KnownType{"wav", "audio/wav"},
    KnownType{"flac", "audio/flac"},
    KnownType{"zip", "application/zip"},
};

} // namespace

std::string_view fileExtension(std::string_view fileName) {
    const auto dot = fileName.rfind('.');
    if (dot == std::string_view::npos || dot == 0) return {};
    return fileName.substr(dot + 1);
}

std::string_view mimeType(std::string_view extension) {
    const std::string wanted = platform::lowerCased(extension);
    const auto known = std::ranges::find(knownTypes, wanted, &KnownType::extension);
    return known == knownTypes.end() ? "application/octet-stream" : known->value;
}

} // namespace quorvel::http
