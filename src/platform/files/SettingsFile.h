#pragma once

#include "platform/files/SettingsStore.h"

namespace quorvel::platform {

/// Settings in one JSON file, readable by its owner only. Every set is on disk when it returns
/// (temporary file, fsync, rename), so a kill at any moment loses nothing that was set.
class SettingsFile final : public SettingsStore {
  public:
    /// $XDG_CONFIG_HOME/quorvel-server/settings.json, with ~/.config where that is not set.
    static std::string defaultPath();

    /// Reads the file. Content that cannot be understood counts as empty and is kept beside it
    /// with ".unreadable" at the end of its name.
    explicit SettingsFile(std::string path = defaultPath());

    void set(const std::string& key, Value value) override;

  private:
    bool save() const;

    std::string path_;
    bool saved_ = true;
};

} // namespace quorvel::platform
