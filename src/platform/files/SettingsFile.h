#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <variant>
#include <vector>

namespace quorvel::platform {

/// Key-value settings in one JSON file, readable by its owner only. Every set is on disk when it
/// returns (temporary file, fsync, rename), so a kill at any moment loses nothing that was set.
/// One thread.
class SettingsFile {
  public:
    using Data = std::vector<std::uint8_t>;
    using Value = std::variant<bool, std::int64_t, std::string, Data>;

    /// $XDG_CONFIG_HOME/quorvel-server/settings.json, with ~/.config where that is not set.
    static std::string defaultPath();

    /// Reads the file. Content that cannot be understood counts as empty and is kept beside it
    /// with ".unreadable" at the end of its name.
    explicit SettingsFile(std::string path);

    /// None also when the value is of another type.
    std::optional<std::string> string(const std::string& key) const;
    std::optional<std::int64_t> integer(const std::string& key) const;
    std::optional<bool> boolean(const std::string& key) const;
    std::optional<Data> data(const std::string& key) const;

    /// False when it could not be written; the value holds for this run all the same.
    bool set(const std::string& key, Value value);

  private:
    void load();
    bool save() const;
    template <class Type>
    std::optional<Type> value(const std::string& key) const;

    std::string path_;
    std::map<std::string, Value> values_;
    bool saved_ = true;
};

} // namespace quorvel::platform
