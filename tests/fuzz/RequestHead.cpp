#include "http/RequestHead.h"

#include "Fuzz.h"

#include "http/PathMapping.h"
#include "platform/Text.h"
#include "server/FolderPath.h"

#include <algorithm>

using namespace quorvel;

void test::fuzz(std::string_view input) {
    const auto request = http::parseRequestHead(input);
    if (!request) return;
    FUZZ_EXPECT(platform::isValidUtf8(request->method) && !request->target.empty());
    const auto raw = http::rawPath(request->target);
    FUZZ_EXPECT(!raw.empty() && !raw.contains('?'));
    const auto location = http::resolveRequestPath("/srv/share", http::decodedPath(raw));
    FUZZ_EXPECT(!location || server::isInside("/srv/share", *location));
    if (raw.ends_with('/')) return; // which is never redirected
    // Nothing that ends a header line, or that a browser takes for another host.
    const std::string redirect = http::redirectLocation(raw);
    FUZZ_EXPECT(std::ranges::all_of(redirect, [](unsigned char c) { return c >= 0x20; }));
    FUZZ_EXPECT(!redirect.starts_with("//") && !redirect.starts_with("/\\"));
}
