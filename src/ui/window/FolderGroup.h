#pragma once

#include "model/ServerModel.h"

#include <QGroupBox>
#include <QPushButton>
#include <memory>

namespace quorvel::ui {

class ElidedLabel;

/// The "Shared Folder" group: the folder's path and the button to choose another.
class FolderGroup final : public QGroupBox {
  public:
    FolderGroup(std::shared_ptr<model::ServerModel> model, QWidget* parent);
    void refresh();

  private:
    const std::shared_ptr<model::ServerModel> model_;
    ElidedLabel* folderText_;
    QPushButton* chooseButton_;
};

} // namespace quorvel::ui
