#include "http/ResponseText.h"

#include <cstddef>

namespace quorvel::http {

TextResponse badRequest() {
    return {"400 Bad Request", "Bad Request"};
}

TextResponse unauthorized() {
    return {"401 Unauthorized", "Authentication required.",
            "WWW-Authenticate: Basic realm=\"Quorvel\""};
}

TextResponse forbidden() {
    return {"403 Forbidden", "Forbidden"};
}

TextResponse notFound() {
    return {"404 Not Found", "Not Found"};
}

TextResponse methodNotAllowed() {
    return {"405 Method Not Allowed", "Method Not Allowed", "Allow: GET, HEAD"};
}

TextResponse cannotOpenFile() {
    return {"500 Internal Server Error", "Cannot open file"};
}

TextResponse rangeNotSatisfiable(std::int64_t size) {
    return {"416 Range Not Satisfiable", "Range Not Satisfiable",
            "Content-Range: bytes */" + std::to_string(size)};
}

std::string textResponse(const TextResponse& response) {
    std::string text = "HTTP/1.1 ";
    text.append(response.status)
        .append("\r\nContent-Type: text/plain; charset=utf-8\r\nContent-Length: ")
        .append(std::to_string(response.body.size()))
        .append("\r\n");
    if (!response.extraHeader.empty()) text.append(response.extraHeader).append("\r\n");
    return text.append("Connection: close\r\n\r\n").append(response.body);
}

std::string redirectResponse(std::string_view location) {
    std::string text = "HTTP/1.1 301 Moved Permanently\r\nLocation: ";
    return text.append(location).append("\r\nContent-Length: 0\r\nConnection: close\r\n\r\n");
}

std::string indexHead(std::size_t length) {
    return "HTTP/1.1 200 OK\r\nContent-Type: text/html; charset=utf-8\r\nContent-Length: " +
           std::to_string(length) + "\r\nConnection: close\r\n\r\n";
}

std::string fileHead(std::string_view contentType, const std::optional<ByteRange>& range,
                     std::int64_t size) {
    std::string head = range ? "HTTP/1.1 206 Partial Content" : "HTTP/1.1 200 OK";
    head.append("\r\nContent-Type: ")
        .append(contentType)
        .append("\r\nContent-Length: ")
        .append(std::to_string(range ? range->length() : size))
        .append("\r\nAccept-Ranges: bytes\r\n");
    if (range) {
        head.append("Content-Range: bytes ")
            .append(std::to_string(range->first))
            .append("-")
            .append(std::to_string(range->last))
            .append("/")
            .append(std::to_string(size))
            .append("\r\n");
    }
    return head.append("Connection: close\r\n\r\n");
}

} // namespace quorvel::http
