#include "http/RequestHead.h"

#include "Fuzz.h"

#include "http/ByteRange.h"
#include "http/PathMapping.h"
#include "platform/text/Text.h"
#include "server/FolderPath.h"
#include "server/PercentEncoding.h"

#include <algorithm>

using namespace quorvel;

static void checkPath(std::string_view raw) {
    const std::string path = http::decodedPath(raw);
    FUZZ_EXPECT(platform::isValidUtf8(path) && path.size() <= raw.size());
    for (const auto part : {server::UrlPart::path, server::UrlPart::user})
        FUZZ_EXPECT(server::percentDecoded(server::percentEncoded(path, part)) == path);
    const auto location = http::resolveRequestPath("/srv/share", path);
    FUZZ_EXPECT(!location || server::isInside("/srv/share", *location));
    if (raw.ends_with('/')) return; // which is never redirected
    // Nothing that ends a header line, or that a browser takes for another host.
    const std::string redirect = http::redirectLocation(raw);
    FUZZ_EXPECT(std::ranges::all_of(redirect, [](unsigned char c) { return c >= 0x20; }));
    FUZZ_EXPECT(!redirect.starts_with("//") && !redirect.starts_with("/\\"));
}

static void checkRange(std::string_view value) {
    for (const std::int64_t size : {INT64_C(0), INT64_C(1000), INT64_MAX}) {
        const auto range = http::parseRange(value, size);
        FUZZ_EXPECT(!range || http::isByteRange(value));
        FUZZ_EXPECT(!range || (range->first >= 0 && range->first <= range->last));
        FUZZ_EXPECT(!range || range->last < size);
    }
}

void test::fuzz(std::string_view input) {
    const auto request = http::parseRequestHead(input);
    if (!request) return;
    FUZZ_EXPECT(platform::isValidUtf8(request->method) && !request->target.empty());
    const auto raw = http::rawPath(request->target);
    FUZZ_EXPECT(!raw.empty() && !raw.contains('?'));
    checkPath(raw);
    if (request->range) checkRange(*request->range);
}
