#pragma once

#include "support/TemporaryFolder.h"

#include "platform/files/Confinement.h"

namespace quorvel::test {

/// What no answer may contain.
inline constexpr auto fuzzSecret = "nobody may read this";

/// A share with a bit of everything, links to a secret outside among it. Made once.
inline const std::string& fuzzFolder() {
    static const TemporaryFolder outside;
    static const TemporaryFolder share;
    [[maybe_unused]] static const bool isMade = [] {
        platform::setConfinementEnabled(false); // the first wall alone has to hold
        outside.write("secret", fuzzSecret);
        share.write("a", "some text");
        share.write("d/b.txt", std::string(300000, 'b'));
        share.write("d/e/\n\"<\xFF", "odd name");
        share.write("\xE9/\xE8/\xFF", "not UTF-8");
        share.link("\xE9/\xFE", outside.path());
        share.makeFolder("empty");
        share.link("out", outside.path());
        share.link("s", outside.path("secret"));
        share.link("loop", "loop");
        share.link("up", "d/..");
        return true;
    }();
    return share.path();
}

} // namespace quorvel::test
