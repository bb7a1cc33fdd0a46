#pragma once

#include "model/ServerModel.h"

#include <QCheckBox>
#include <QGroupBox>
#include <QLineEdit>
#include <memory>
#include <string>

namespace quorvel::ui {

class Picker;
class PortField;

/// The "Server" group: protocol, port and login. Disabled while a server is active.
class ServerGroup final : public QGroupBox {
  public:
    ServerGroup(std::shared_ptr<model::ServerModel> model, QWidget* parent);
    void refresh();

  private:
    void nameFields();
    void storeEdits();
    void storeText(QLineEdit& field, void (model::ServerModel::*set)(std::string));
    void arrange();

    const std::shared_ptr<model::ServerModel> model_;
    Picker* serverType_;
    PortField* port_;
    QCheckBox* useAuth_;
    QLineEdit* username_;
    QLineEdit* password_;
};

} // namespace quorvel::ui
