#include "ui/window/InfoGroup.h"

#include "ui/window/Appearance.h"
#include "ui/window/Picker.h"

#include <QEvent>
#include <QFontDatabase>
#include <QHBoxLayout>
#include <QIcon>
#include <QLabel>
#include <QVBoxLayout>

namespace quorvel::ui {

namespace {

constexpr int infoHeight = 84;
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
      infoText_(new QPlainTextEdit(this)), copyRow_(new QWidget(this)),
      copyFormat_(new Picker(copyRow_)), copyButton_(new QPushButton(copyRow_)) {
    prepareInfoText();
    prepareCopyRow();
    arrange();
}

void InfoGroup::prepareInfoText() {
    infoText_->setObjectName("infoText");
    infoText_->setAccessibleName("Info");
    infoText_->setReadOnly(true);
    infoText_->setTextInteractionFlags(Qt::TextSelectableByMouse | Qt::TextSelectableByKeyboard);
    infoText_->setTabChangesFocus(true);
    infoText_->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    infoText_->setFixedHeight(infoHeight);
    QFont mono = QFontDatabase::systemFont(QFontDatabase::FixedFont);
    mono.setPointSizeF(scaledFont(font(), textSize::callout).pointSizeF());
    infoText_->setFont(mono);
}

void InfoGroup::prepareCopyRow() {
    copyRow_->setObjectName("copyRow");
    copyFormat_->setObjectName("copyFormat");
    copyFormat_->setAccessibleName("Copy format");
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
    row->addWidget(plainLabel("Copy", copyRow_));
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
    // Setting the same text again would clear the selection.
    if (infoText_->toPlainText() != text) infoText_->setPlainText(text);
    copyFormat_->select(model_->copyFormat());
    copyRow_->setEnabled(!model_->primaryURL().empty());
    refreshCopyLabel();
}

void InfoGroup::refreshCopyLabel() {
    if (copyAction_->didCopy()) return showCopyLabel("check", "Copied");
    showCopyLabel("copy", "Copy");
}

void InfoGroup::showCopyLabel(const char* iconName, const char* text) {
    copyButton_->setText(text);
    copyButton_->setIcon(icon(iconName, *copyButton_));
}

void InfoGroup::changeEvent(QEvent* event) {
    QGroupBox::changeEvent(event);
    if (event->type() == QEvent::PaletteChange) refreshCopyLabel();
}

} // namespace quorvel::ui
