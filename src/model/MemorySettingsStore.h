#pragma once

#include "model/SettingsStore.h"

#include <map>

namespace quorvel::model {

/// Settings that last as long as this object: for runs that must not touch the user's own.
class MemorySettingsStore final : public SettingsStore {
  public:
    using Values = std::map<std::string, Value>;

    explicit MemorySettingsStore(Values values = {});

    std::optional<std::string> string(const std::string& key) const override;
    std::optional<std::int64_t> integer(const std::string& key) const override;
    std::optional<bool> boolean(const std::string& key) const override;
    std::optional<Data> data(const std::string& key) const override;
    void set(const std::string& key, Value value) override;

    const Values& values() const { return values_; }

  private:
    template <class Type>
    std::optional<Type> value(const std::string& key) const;

    Values values_;
};

} // namespace quorvel::model
