#pragma once

#include <optional>
#include <string>

namespace quorvel::model {

/// The use of a folder from a start to its stop or failure; destroying it ends the use. Keeps
/// nothing open, so that an idle share does not hold a disk.
class FolderAccess {
  public:
    /// None when the folder cannot be opened.
    static std::optional<FolderAccess> begin(const std::string& folder);

    const std::string& folder() const { return folder_; }

  private:
    explicit FolderAccess(std::string folder);

    std::string folder_;
};

} // namespace quorvel::model
