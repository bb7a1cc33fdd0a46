#include "Fuzz.h"

#include "http/ByteRange.h"
#include "server/DecimalInteger.h"

using namespace quorvel;

void test::fuzz(std::string_view input) {
    const std::int64_t fileSize = server::decimalInteger(test::takePart(input)).value_or(1000);
    const auto range = http::parseRange(input, fileSize);
    if (!range) return;
    FUZZ_EXPECT(http::isByteRange(input));
    FUZZ_EXPECT(range->first >= 0 && range->first <= range->last && range->last < fileSize);
}
