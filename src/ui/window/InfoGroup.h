#pragma once

#include "model/CopyAction.h"
#include "model/ServerModel.h"
#include "ui/window/InfoText.h"

#include <QGroupBox>
#include <QPushButton>
#include <memory>

namespace quorvel::ui {

class Picker;

/// The "Info" group: the model's messages and the row that copies the share texts.
class InfoGroup final : public QGroupBox {
  public:
    InfoGroup(std::shared_ptr<model::ServerModel> model,
              std::shared_ptr<model::CopyAction> copyAction, QWidget* parent);
    void refresh();

  protected:
    void changeEvent(QEvent* event) override;

  private:
    void prepareCopyRow();
    void arrange();
    void refreshCopyLabel();
    void showCopyLabel(const char* iconName, const char* text);

    const std::shared_ptr<model::ServerModel> model_;
    const std::shared_ptr<model::CopyAction> copyAction_;
    InfoText* infoText_;
    QWidget* copyRow_;
    Picker* copyFormat_;
    QPushButton* copyButton_;
};

} // namespace quorvel::ui
