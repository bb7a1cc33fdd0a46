#include "ui/window/StartButton.h"

#include "ui/window/Appearance.h"
#include "ui/window/Contrast.h"

#include <QPainter>
#include <memory>
#include <utility>

namespace quorvel::ui {

namespace {

constexpr int largeHeight = 36;
constexpr int radius = 5;
constexpr QRgb red = 0xffc9302c;

} // namespace

StartButton::StartButton(std::shared_ptr<model::ServerModel> model, QWidget* parent)
    : QPushButton(parent), model_(std::move(model)) {
    setObjectName("startButton");
    setMinimumHeight(largeHeight);
    setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Fixed);
    setFont(scaledFont(font(), textSize::body, QFont::DemiBold));
    connect(this, &QPushButton::clicked, this, [model = model_] { model->toggle(); });
}

void StartButton::refresh() {
    setText(model_->state().isActive() ? "Stop" : "Start");
    setEnabled(!model_->folderPath().empty());
    // Setting it again would announce it again.
    const auto status = QString::fromStdString(model_->statusText());
    if (accessibleDescription() != status) setAccessibleDescription(status);
    update();
}

QColor StartButton::background() const {
    const QColor tint = model_->state().isActive() ? QColor(red) : accentColor(palette());
    if (isDown()) return tint.darker(118);
    return underMouse() ? tint.lighter(108) : tint;
}

void StartButton::paintEvent(QPaintEvent* event) {
    if (!isEnabled()) return QPushButton::paintEvent(event);
    const QColor color = background();
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(QPen(color.darker(125), 1));
    painter.setBrush(color);
    painter.drawRoundedRect(QRectF(rect()).adjusted(0.5, 0.5, -0.5, -0.5), radius, radius);
    painter.setPen(textOn(color));
    painter.drawText(rect(), Qt::AlignCenter, text());
    if (!hasFocus() || !window()->testAttribute(Qt::WA_KeyboardFocusChange)) return;
    painter.setBrush(Qt::NoBrush);
    painter.drawRoundedRect(QRectF(rect()).adjusted(3.5, 3.5, -3.5, -3.5), radius - 2, radius - 2);
}

} // namespace quorvel::ui
