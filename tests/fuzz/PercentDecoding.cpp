#include "Fuzz.h"

#include "http/RequestHead.h"
#include "platform/Text.h"
#include "server/PercentEncoding.h"

using namespace quorvel;

void test::fuzz(std::string_view input) {
    const auto decoded = server::percentDecoded(input);
    FUZZ_EXPECT(!decoded || (platform::isValidUtf8(*decoded) && decoded->size() <= input.size()));
    FUZZ_EXPECT(http::decodedPath(input) == decoded.value_or(std::string(input)));
    for (const auto part : {server::UrlPart::path, server::UrlPart::user}) {
        const std::string encoded = server::percentEncoded(input, part);
        FUZZ_EXPECT(encoded.find_first_of("\"<> \r\n") == std::string::npos);
        if (platform::isValidUtf8(input)) FUZZ_EXPECT(server::percentDecoded(encoded) == input);
    }
}
