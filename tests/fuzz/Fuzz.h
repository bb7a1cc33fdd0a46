#pragma once

#include <cstdlib>
#include <string_view>

/// Stops the run, with the input kept, when something does not hold that always must.
#define FUZZ_EXPECT(condition)                                                                     \
    if (!(condition)) std::abort()

namespace quorvel::test {

/// What every target defines: takes the bytes to where those of others are read.
void fuzz(std::string_view input);

/// What stands before the mark, which is taken away with it; everything when there is none.
inline std::string_view takePart(std::string_view& text, char mark = '\n') {
    const auto part = text.substr(0, text.find(mark));
    text.remove_prefix(part.size() == text.size() ? part.size() : part.size() + 1);
    return part;
}

} // namespace quorvel::test
