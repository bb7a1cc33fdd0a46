#include "Fuzz.h"

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <string>

/// Runs the target over every file in a folder: what `./test` does without libFuzzer.
int main(int, char** arguments) {
    int count = 0;
    for (const auto& entry : std::filesystem::directory_iterator(arguments[1])) {
        std::printf("%s\n", entry.path().c_str());
        std::fflush(stdout);
        std::ifstream stream(entry.path(), std::ios::binary);
        const std::string input{std::istreambuf_iterator<char>(stream), {}};
        LLVMFuzzerTestOneInput(reinterpret_cast<const std::uint8_t*>(input.data()), input.size());
        ++count;
    }
    return count > 0 ? 0 : 1;
}
