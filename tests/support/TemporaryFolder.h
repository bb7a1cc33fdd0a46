#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace quorvel::test {

/// A folder of its own for one test, deleted with everything in it at the end.
class TemporaryFolder {
  public:
    TemporaryFolder();
    ~TemporaryFolder();
    TemporaryFolder(const TemporaryFolder&) = delete;
    TemporaryFolder& operator=(const TemporaryFolder&) = delete;

    const std::string& path() const { return path_; }
    std::string path(std::string_view name) const { return path_ + "/" + std::string(name); }

    /// Each makes missing parent folders and returns the absolute path.
    std::string write(std::string_view name, std::string_view content = {}) const;
    std::string writeSparse(std::string_view name, std::int64_t size) const;
    std::string makeFolder(std::string_view name) const;
    std::string link(std::string_view name, std::string_view target) const;

  private:
    std::string path_;
};

/// Content in which every position is recognisable, so that a shifted transfer shows.
std::string patternedContent(std::size_t size);

} // namespace quorvel::test
