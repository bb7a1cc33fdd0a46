#pragma once

#include <optional>
#include <string>

namespace quorvel::model {

/// The texts of the folder panel.
struct FolderPanelTexts {
    std::string prompt; ///< The title of the confirm button.
    std::string message;
};

/// A modal panel in which the user picks one directory. Implemented by the desktop. Main thread.
class FolderChooser {
  public:
    virtual ~FolderChooser() = default;

    /// The absolute path of the chosen directory, as bytes on disk; none if cancelled.
    virtual std::optional<std::string> chooseFolder(const FolderPanelTexts& texts) = 0;
};

} // namespace quorvel::model
