#include "Fuzz.h"

#include "model/FolderBookmark.h"

using namespace quorvel;

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const auto path = model::resolveBookmark({data, data + size});
    FUZZ_EXPECT(!path || (path->starts_with('/') && !path->contains('\0')));
    // What it resolves is what it makes, and back.
    if (path)
        FUZZ_EXPECT(model::makeBookmark(*path) == model::SettingsStore::Data(data, data + size));
    const auto made = model::makeBookmark(std::string(test::textOf(data, size)));
    if (made) FUZZ_EXPECT(model::resolveBookmark(*made) == test::textOf(data, size));
    return 0;
}
