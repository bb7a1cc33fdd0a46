#include "Fuzz.h"

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

namespace {

void replay(const std::filesystem::path& file) {
    std::ifstream stream(file, std::ios::binary);
    const std::string input{std::istreambuf_iterator<char>(stream), {}};
    LLVMFuzzerTestOneInput(reinterpret_cast<const std::uint8_t*>(input.data()), input.size());
}

} // namespace

/// Runs the target over every file in the folders given: what `./test` does without libFuzzer.
int main(int argumentCount, char** arguments) {
    int count = 0;
    for (int i = 1; i < argumentCount; ++i)
        for (const auto& entry : std::filesystem::directory_iterator(arguments[i])) {
            std::printf("%s\n", entry.path().c_str());
            std::fflush(stdout);
            replay(entry.path());
            ++count;
        }
    return count > 0 ? 0 : 1;
}
