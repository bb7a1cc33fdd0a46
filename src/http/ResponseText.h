#pragma once

#include "http/ByteRange.h"

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace quorvel::http {

/// A plain-text answer: its status, its body, and the one extra header line that some have (without
/// its line end).
struct TextResponse {
    std::string_view status;
    std::string_view body;
    std::string extraHeader = {};
};

TextResponse badRequest();
TextResponse unauthorized();
TextResponse forbidden();
TextResponse notFound();
TextResponse methodNotAllowed();
TextResponse cannotOpenFile();
TextResponse rangeNotSatisfiable(std::int64_t size);

/// The head and the body.
std::string textResponse(const TextResponse& response);

/// The whole 301 answer.
std::string redirectResponse(std::string_view location);

/// The head of an index page with this length in bytes.
std::string indexHead(std::size_t length);

/// The head of a file's answer: 206 if there is a range, else 200.
std::string fileHead(std::string_view contentType, const std::optional<ByteRange>& range,
                     std::int64_t size);

} // namespace quorvel::http
