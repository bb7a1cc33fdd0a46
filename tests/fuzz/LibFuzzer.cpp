#include "Fuzz.h"

#include <cstdint>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    quorvel::test::fuzz({reinterpret_cast<const char*>(data), size});
    return 0;
}
