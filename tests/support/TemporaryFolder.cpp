#include "support/TemporaryFolder.h"

#include <cstdlib>
#include <filesystem>
#include <fstream>

namespace quorvel::test {

namespace fs = std::filesystem;

TemporaryFolder::TemporaryFolder() {
    std::string name = (fs::canonical(fs::temp_directory_path()) / "quorvel-test-XXXXXX").string();
    path_ = mkdtemp(name.data());
}

TemporaryFolder::~TemporaryFolder() {
    std::error_code ignored;
    fs::remove_all(path_, ignored);
}

std::string TemporaryFolder::write(std::string_view name, std::string_view content) const {
    const fs::path file = path(name);
    fs::create_directories(file.parent_path());
    std::ofstream(file, std::ios::binary) << content;
    return file.string();
}

std::string TemporaryFolder::writeSparse(std::string_view name, std::int64_t size) const {
    const std::string file = write(name);
    fs::resize_file(file, static_cast<std::uintmax_t>(size));
    return file;
}

std::string TemporaryFolder::makeFolder(std::string_view name) const {
    fs::create_directories(path(name));
    return path(name);
}

std::string TemporaryFolder::link(std::string_view name, std::string_view target) const {
    fs::create_directories(fs::path(path(name)).parent_path());
    fs::create_symlink(target, path(name));
    return path(name);
}

std::string patternedContent(std::size_t size) {
    std::string content(size, '\0');
    for (std::size_t i = 0; i < size; ++i)
        content[i] = static_cast<char>((i * 31 + i / 251) & 0xFF);
    return content;
}

} // namespace quorvel::test
