#include "Fuzz.h"

#include "http/RequestHead.h"
#include "platform/Text.h"
#include "server/PercentEncoding.h"

using namespace quorvel;

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const auto text = test::textOf(data, size);
    const auto decoded = server::percentDecoded(text);
    FUZZ_EXPECT(!decoded || (platform::isValidUtf8(*decoded) && decoded->size() <= text.size()));
    FUZZ_EXPECT(http::decodedPath(text) == decoded.value_or(std::string(text)));
    for (const auto part : {server::UrlPart::path, server::UrlPart::user}) {
        const std::string encoded = server::percentEncoded(text, part);
        FUZZ_EXPECT(encoded.find_first_of("\"<> \r\n") == std::string::npos);
        if (platform::isValidUtf8(text)) FUZZ_EXPECT(server::percentDecoded(encoded) == text);
    }
    return 0;
}
