#pragma once

#include <optional>
#include <string>

namespace quorvel::model {

/// What the folder panel says.
struct FolderPanelTexts {
    std::string prompt; ///< The title of the button that confirms.
    std::string message;
};

/// A modal panel in which the user picks one directory. Supplied by the desktop; main thread.
class FolderChooser {
  public:
    virtual ~FolderChooser() = default;

    /// The absolute path of the chosen directory (the disk's bytes); none when cancelled.
    virtual std::optional<std::string> chooseFolder(const FolderPanelTexts& texts) = 0;
};

} // namespace quorvel::model
