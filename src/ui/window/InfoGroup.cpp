#include "ui/window/InfoGroup.h"

#include "ui/window/Appearance.h"
#include "ui/window/Picker.h"

#include <QEvent>
#include <QHBoxLayout>
#include <QIcon>
#include <QLabel>
#include <QVBoxLayout>
#include <memory>
#include <utility>

namespace quorvel::ui {

namespace {

constexpr int pickerWidth = 220;
constexpr int iconSize = 16;

QIcon icon(const char* name, const QWidget& widget) {
    QIcon icon;
    for (const auto& [mode, group] : {std::pair{QIcon::Normal, QPalette::Active},
                                      std::pair{QIcon::Disabled, QPalette::Disabled}}) {
        const auto color = widget.palette().color(group, QPalette::ButtonText);
        icon.addPixmap(tintedPixmap(name, iconSize, widget.devicePixelRatioF(), color), mode);
    }
    return icon;
}

} // namespace

InfoGroup::InfoGroup(std::shared_ptr<model::ServerModel> model,
                     std::shared_ptr<model::CopyAction> copyAction, QWidget* parent)
    : QGroupBox("Info", parent), model_(std::move(model)), copyAction_(std::move(copyAction)),
      infoText_(new InfoText(this)), copyRow_(new QWidget(this)), copyFormat_(new Picker(copyRow_)),
      copyButton_(new QPushButton(copyRow_)) {
    prepareCopyRow();
    arrange();
}

void InfoGroup::prepareCopyRow() {
    copyRow_->setObjectName("copyRow");
    copyFormat_->setObjectName("copyFormat");
    copyFormat_->setMaximumWidth(pickerWidth);
    copyFormat_->offer(model::allCopyFormats, [action = copyAction_](model::CopyFormat format) {
        action->chooseFormat(format);
    });

    copyButton_->setObjectName("copyButton");
    copyButton_->setAutoDefault(false);
    copyButton_->setIconSize({iconSize, iconSize});
    showCopyLabel("check", "Copied");
    copyButton_->setMinimumWidth(copyButton_->sizeHint().width());
    connect(copyButton_, &QPushButton::clicked, this,
            [action = copyAction_] { action->copyCurrentLink(); });
}

void InfoGroup::arrange() {
    auto* row = new QHBoxLayout(copyRow_);
    row->setContentsMargins(0, 0, 0, 0);
    row->setSpacing(8);
    auto* label = plainLabel("Copy", copyRow_);
    label->setBuddy(copyFormat_); // screen readers name a picker by its label alone
    row->addWidget(label);
    row->addWidget(copyFormat_, 1);
    row->addWidget(copyButton_);
    row->addStretch();

    auto* rows = new QVBoxLayout(this);
    rows->setContentsMargins(groupMargins);
    rows->setSpacing(10);
    rows->addWidget(infoText_);
    rows->addWidget(copyRow_);
}

void InfoGroup::refresh() {
    const auto text = model_->infoText().empty() ? QStringLiteral("Server is stopped.")
                                                 : QString::fromStdString(model_->infoText());
    infoText_->show(text, model_->state().kind == model::State::Case::failed);
    copyFormat_->select(model_->copyFormat());
    copyRow_->setEnabled(!model_->primaryURL().empty());
    refreshCopyLabel();
}

void InfoGroup::refreshCopyLabel() {
    if (copyAction_->didCopy()) return showCopyLabel("check", "Copied");
    showCopyLabel("copy", "Copy");
}

void InfoGroup::showCopyLabel(const char* iconName, const char* text) {
    if (copyButton_->text() == text) return;
    copyButton_->setText(text);
    // In this palette, because a change of palettes reaches the children last.
    copyButton_->setIcon(icon(iconName, *this));
}

void InfoGroup::changeEvent(QEvent* event) {
    QGroupBox::changeEvent(event);
    if (event->type() != QEvent::PaletteChange) return;
    copyButton_->setText({});
    refreshCopyLabel();
}

} // namespace quorvel::ui
