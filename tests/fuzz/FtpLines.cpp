#include "Fuzz.h"

#include "ftp/CommandLine.h"
#include "platform/Text.h"

using namespace quorvel;

void test::fuzz(std::string_view input) {
    while (const auto line = ftp::takeLine(input)) {
        const auto text = ftp::commandText(*line);
        FUZZ_EXPECT(platform::isValidUtf8(text) && !text.contains('\n'));
        FUZZ_EXPECT(!text.starts_with('\r') && !text.ends_with('\r'));
        const auto [verb, argument] = ftp::splitCommandLine(text);
        FUZZ_EXPECT(!verb.contains(' ') && (!verb.empty() || argument.empty()));
        const auto path = ftp::listPath(argument);
        FUZZ_EXPECT(!path.contains(' ') && !path.starts_with('-'));
        const auto offset = ftp::restartOffset(argument);
        FUZZ_EXPECT(!offset || *offset >= 0);
        platform::upperCased(verb);
    }
    FUZZ_EXPECT(!input.contains('\n'));
}
