#include "ui/window/ServerGroup.h"

#include "ui/window/Appearance.h"
#include "ui/window/Picker.h"
#include "ui/window/PortField.h"

#include <QGridLayout>
#include <QLabel>
#include <QSignalBlocker>
#include <QVBoxLayout>
#include <cstdint>
#include <memory>
#include <string>
#include <utility>

namespace quorvel::ui {

namespace {

constexpr int fieldWidth = 90;

/// Does not move the cursor if the text is unchanged.
void showIn(QLineEdit& field, const std::string& text) {
    const QSignalBlocker nothingIsEdited(field);
    const auto shown = QString::fromStdString(text);
    if (field.text() != shown) field.setText(shown);
}

void showIn(QCheckBox& box, bool isOn) {
    const QSignalBlocker nothingIsEdited(box);
    box.setChecked(isOn);
}

QLabel* labelOf(QWidget* field, const char* text) {
    auto* label = plainLabel(text, field->parentWidget());
    // Screen readers name a picker by its label alone.
    label->setBuddy(field);
    return label;
}

} // namespace

ServerGroup::ServerGroup(std::shared_ptr<model::ServerModel> model, QWidget* parent)
    : QGroupBox("Server", parent), model_(std::move(model)), serverType_(new Picker(this)),
      port_(new PortField(this)),
      // A single "&" would make the next character a mnemonic.
      useAuth_(new QCheckBox("Require username && password", this)), username_(new QLineEdit(this)),
      password_(new QLineEdit(this)) {
    password_->setEchoMode(QLineEdit::Password);
    nameFields();
    storeEdits();
    arrange();
}

void ServerGroup::nameFields() {
    serverType_->setObjectName("serverType");
    port_->setObjectName("port");
    port_->setAccessibleName("Port");
    port_->setPlaceholderText("Port");
    useAuth_->setObjectName("useAuth");
    useAuth_->setAccessibleName("Require username & password");
    username_->setObjectName("username");
    username_->setAccessibleName("Username");
    username_->setPlaceholderText("Username");
    password_->setObjectName("password");
    password_->setAccessibleName("Password");
    password_->setPlaceholderText("Password");
}

// Also what assistive technology or an input method changes, not only typing and clicking.
void ServerGroup::storeEdits() {
    auto& model = *model_;
    serverType_->offer(model::allServerTypes,
                       [&model](model::ServerType type) { model.setServerType(type); });
    port_->onNumber = [&model](std::int64_t number) { model.setPort(number); };
    connect(useAuth_, &QCheckBox::toggled, this, [&model](bool on) { model.setUseAuth(on); });
    storeText(*username_, &model::ServerModel::setUsername);
    storeText(*password_, &model::ServerModel::setPassword);
}

void ServerGroup::storeText(QLineEdit& field, void (model::ServerModel::*set)(std::string)) {
    connect(&field, &QLineEdit::textChanged, this, [this, &field, set](const QString& text) {
        // Assistive technology can write into a disabled field.
        if (!field.isEnabled()) return refresh();
        (*model_.*set)(text.toStdString());
    });
}

void ServerGroup::arrange() {
    auto* choices = new QGridLayout;
    choices->setHorizontalSpacing(12);
    choices->setVerticalSpacing(12);
    choices->addWidget(labelOf(serverType_, "Serve as"), 0, 0);
    choices->addWidget(serverType_, 0, 1, Qt::AlignLeft);
    choices->addWidget(labelOf(port_, "Port"), 1, 0);
    choices->addWidget(port_, 1, 1, Qt::AlignLeft);
    choices->setColumnStretch(1, 1);
    port_->setFixedWidth(fieldWidth);
    serverType_->setMinimumWidth(fieldWidth);

    auto* rows = new QVBoxLayout(this);
    rows->setContentsMargins(groupMargins);
    rows->setSpacing(12);
    rows->addLayout(choices);
    rows->addWidget(useAuth_, 0, Qt::AlignLeft);
    rows->addWidget(username_);
    rows->addWidget(password_);
}

void ServerGroup::refresh() {
    serverType_->select(model_->serverType());
    port_->setNumber(model_->port());
    showIn(*useAuth_, model_->useAuth());
    showIn(*username_, model_->username());
    showIn(*password_, model_->password());
    username_->setEnabled(model_->useAuth());
    password_->setEnabled(model_->useAuth());
    setEnabled(!model_->state().isActive());
}

} // namespace quorvel::ui
