#pragma once

#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <stdexcept>
#include <string>
#include <string_view>

namespace quorvel::test {

/// A temporary folder, deleted with its content on destruction.
class TemporaryFolder {
  public:
    TemporaryFolder() {
        namespace fs = std::filesystem;
        path_ = fs::canonical(fs::temp_directory_path()) / "quorvel-test-XXXXXX";
        if (mkdtemp(path_.data()) == nullptr) throw std::runtime_error("no temporary folder");
    }
    ~TemporaryFolder() {
        std::error_code ignored;
        std::filesystem::remove_all(path_, ignored);
    }
    TemporaryFolder(const TemporaryFolder&) = delete;
    TemporaryFolder& operator=(const TemporaryFolder&) = delete;

    const std::string& path() const { return path_; }
    std::string path(std::string_view name) const { return path_ + "/" + std::string(name); }

    /// These create missing parent folders and return the absolute path.
    std::string makeFolder(std::string_view name) const {
        std::filesystem::create_directories(path(name));
        return path(name);
    }
    std::string write(std::string_view name, std::string_view content = {}) const {
        makeFolder(name.substr(0, name.rfind('/') + 1));
        std::ofstream(path(name), std::ios::binary) << content;
        return path(name);
    }
    std::string writeSparse(std::string_view name, std::uintmax_t size) const {
        std::filesystem::resize_file(write(name), size);
        return path(name);
    }
    void link(std::string_view name, std::string_view target) const {
        makeFolder(name.substr(0, name.rfind('/') + 1));
        std::filesystem::create_symlink(target, path(name));
    }

  private:
    std::string path_;
};

/// Content that makes a shifted transfer noticeable.
inline std::string patternedContent(std::size_t size) {
    std::string content(size, '\0');
    for (std::size_t i = 0; i < size; ++i)
        content[i] = static_cast<char>((i * 31 + i / 251) & 0xFF);
    return content;
}

} // namespace quorvel::test
