#pragma once

#include "platform/files/SettingsStore.h"

#include <string>

namespace quorvel::platform {

/// Settings in one JSON file that only its owner can read. A set is on disk when it returns
/// (temporary file, fsync, rename), so a kill at any moment loses nothing that was set.
class SettingsFile final : public SettingsStore {
  public:
    /// Reads the file, by default $XDG_CONFIG_HOME/quorvel-server/settings.json, or the same in
    /// ~/.config if that is not set. Whatever else is there counts as empty; the first change
    /// renames it to end in ".unreadable". A link stays one, and what else the file holds stays.
    explicit SettingsFile(std::string path = defaultPath());

    void set(const std::string& key, Value value) override;

  private:
    static std::string defaultPath();
    bool save() const;

    std::string path_;
    bool saved_ = true;
};

} // namespace quorvel::platform
