#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string_view>

/// Stops the run, with the input kept, when something does not hold that always must.
#define FUZZ_EXPECT(condition)                                                                     \
    if (!(condition)) std::abort()

/// What every target defines, in the form that libFuzzer calls.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

namespace quorvel::test {

inline std::string_view textOf(const std::uint8_t* data, std::size_t size) {
    return {reinterpret_cast<const char*>(data), size};
}

/// What stands before the mark, which is taken away with it; everything when there is none.
inline std::string_view takePart(std::string_view& text, char mark = '\n') {
    const auto part = text.substr(0, text.find(mark));
    text.remove_prefix(part.size() == text.size() ? part.size() : part.size() + 1);
    return part;
}

} // namespace quorvel::test
