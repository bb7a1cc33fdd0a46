#pragma once

#include <cstdint>
#include <map>
#include <string>

namespace quorvel::bench {

/// The command line: a mode, then `name=value` pairs. Throws on missing or invalid values.
class Options {
  public:
    Options(int count, char** words);

    const std::string& mode() const { return mode_; }
    std::string text(const std::string& name) const;
    std::uint64_t number(const std::string& name) const;
    std::uint64_t number(const std::string& name, std::uint64_t otherwise) const;
    double seconds(const std::string& name) const;
    bool has(const std::string& name) const { return values_.contains(name); }

  private:
    std::string mode_;
    std::map<std::string, std::string> values_;
};

} // namespace quorvel::bench
