#pragma once

#include "model/FolderChooser.h"

#include <QPointer>
#include <QWidget>
#include <optional>
#include <string>

namespace quorvel::ui {

/// The desktop's folder dialog, or Qt's own if the desktop has none.
class QtFolderChooser final : public model::FolderChooser {
  public:
    /// The window that the dialog belongs to.
    void setParentWindow(QWidget* window) { parentWindow_ = window; }
    /// The folder chosen before: the dialog opens in its parent folder with this one selected.
    void setCurrentFolder(const std::string& folder) { currentFolder_ = folder; }

    std::optional<std::string> chooseFolder(const model::FolderPanelTexts& texts) override;

  private:
    QPointer<QWidget> parentWindow_;
    std::string currentFolder_;
};

} // namespace quorvel::ui
