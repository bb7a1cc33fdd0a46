#include "Fuzz.h"

#include <filesystem>
#include <fstream>
#include <iostream>

/// Runs the target over every file in a folder: what `./test` does without libFuzzer.
int main(int, char** arguments) {
    int status = 1; // until there was a file
    for (const auto& entry : std::filesystem::directory_iterator(arguments[1])) {
        std::cout << entry.path() << std::endl;
        std::ifstream stream(entry.path(), std::ios::binary);
        quorvel::test::fuzz(std::string(std::istreambuf_iterator<char>(stream), {}));
        status = 0;
    }
    return status;
}
