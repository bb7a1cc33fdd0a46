#pragma once

#include "model/SettingsStore.h"
#include "platform/files/SettingsFile.h"

namespace quorvel::model {

/// The settings that last: one file, written by every set before it returns.
class FileSettingsStore final : public SettingsStore {
  public:
    /// Without an argument, the user's own file.
    explicit FileSettingsStore(std::string path = platform::SettingsFile::defaultPath());

    std::optional<std::string> string(const std::string& key) const override;
    std::optional<std::int64_t> integer(const std::string& key) const override;
    std::optional<bool> boolean(const std::string& key) const override;
    std::optional<Data> data(const std::string& key) const override;
    void set(const std::string& key, Value value) override;

  private:
    platform::SettingsFile file_;
};

} // namespace quorvel::model
