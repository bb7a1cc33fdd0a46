#pragma once

#include "model/FolderChooser.h"

#include <QPointer>
#include <QWidget>

namespace quorvel::ui {

/// The desktop's folder dialog, or Qt's where the desktop has none.
class QtFolderChooser final : public model::FolderChooser {
  public:
    /// The window in front of which the dialog opens.
    void setParentWindow(QWidget* window) { parentWindow_ = window; }
    /// The folder chosen before; the dialog opens in the one around it, with this one picked.
    void setCurrentFolder(const std::string& folder) { currentFolder_ = folder; }

    std::optional<std::string> chooseFolder(const model::FolderPanelTexts& texts) override;

  private:
    QPointer<QWidget> parentWindow_;
    std::string currentFolder_;
};

} // namespace quorvel::ui
