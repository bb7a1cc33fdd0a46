#include "Fuzz.h"

#include "http/ByteRange.h"
#include "server/DecimalInteger.h"

using namespace quorvel;

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    std::string_view header = test::textOf(data, size);
    const std::int64_t fileSize = server::decimalInteger(test::takePart(header)).value_or(1000);
    const auto range = http::parseRange(header, fileSize);
    if (!range) return 0;
    FUZZ_EXPECT(http::isByteRange(header));
    FUZZ_EXPECT(range->first >= 0 && range->first <= range->last && range->last < fileSize);
    return 0;
}
