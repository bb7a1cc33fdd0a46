#include "Fuzz.h"

#include "model/FolderBookmark.h"

using namespace quorvel;

void test::fuzz(std::string_view input) {
    const model::SettingsStore::Data bytes(input.begin(), input.end());
    const auto path = model::resolveBookmark(bytes);
    FUZZ_EXPECT(!path || (path->starts_with('/') && !path->contains('\0')));
    // What it resolves is what it makes, and back.
    if (path) FUZZ_EXPECT(model::makeBookmark(*path) == bytes);
    const auto made = model::makeBookmark(std::string(input));
    if (made) FUZZ_EXPECT(model::resolveBookmark(*made) == input);
}
