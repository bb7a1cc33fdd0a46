#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <variant>
#include <vector>

namespace quorvel::model {

/// The user's settings under their keys. Main thread.
class SettingsStore {
  public:
    using Data = std::vector<std::uint8_t>;
    using Value = std::variant<bool, std::int64_t, std::string, Data>;

    virtual ~SettingsStore() = default;

    /// None also for a value of another type.
    virtual std::optional<std::string> string(const std::string& key) const = 0;
    virtual std::optional<std::int64_t> integer(const std::string& key) const = 0;
    virtual std::optional<bool> boolean(const std::string& key) const = 0;
    virtual std::optional<Data> data(const std::string& key) const = 0;

    /// The value is stored when it returns. One that cannot be stored holds for this run.
    virtual void set(const std::string& key, Value value) = 0;
};

} // namespace quorvel::model
