#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <utility>
#include <variant>
#include <vector>

namespace quorvel::platform {

/// The user's settings by key, in memory; SettingsFile also keeps them on disk. Not thread-safe.
class SettingsStore {
  public:
    using Data = std::vector<std::uint8_t>;
    using Value = std::variant<bool, std::int64_t, std::string, Data>;
    using Values = std::map<std::string, Value>;

    explicit SettingsStore(Values values = {}) : values_(std::move(values)) {}
    virtual ~SettingsStore() = default;

    /// Each returns none for a value of another type as well; but data also reads as a string, and
    /// a text that is a number, as people may write it by hand, as that.
    std::optional<std::string> string(const std::string& key) const;
    std::optional<std::int64_t> integer(const std::string& key) const;
    std::optional<bool> boolean(const std::string& key) const;
    std::optional<Data> data(const std::string& key) const;

    const Values& values() const { return values_; }

    /// The value is stored when this returns; if that fails, it is kept in memory only.
    virtual void set(const std::string& key, Value value);

  private:
    template <class Type>
    std::optional<Type> value(const std::string& key) const;

    Values values_;
};

} // namespace quorvel::platform
