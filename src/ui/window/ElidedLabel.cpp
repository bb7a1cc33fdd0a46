#include "ui/window/ElidedLabel.h"

#include "ui/window/Appearance.h"

#include <QHelpEvent>
#include <QPainter>
#include <QStyle>
#include <QToolTip>

namespace quorvel::ui {

ElidedLabel::ElidedLabel(QWidget* parent) : QLabel(parent) {
    setTextFormat(Qt::PlainText);
    setSizePolicy(QSizePolicy::Ignored, QSizePolicy::Preferred);
}

QSize ElidedLabel::minimumSizeHint() const {
    return {0, fontMetrics().height()};
}

QString ElidedLabel::shownText() const {
    return fontMetrics().elidedText(text(), Qt::ElideMiddle, width(), Qt::TextSingleLine);
}

bool ElidedLabel::event(QEvent* event) {
    if (event->type() != QEvent::ToolTip) return QLabel::event(event);
    if (shownText() == text()) return true;
    QToolTip::showText(static_cast<QHelpEvent*>(event)->globalPos(), literalTip(text()), this);
    return true;
}

void ElidedLabel::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    style()->drawItemText(&painter, rect(), Qt::AlignVCenter | Qt::AlignLeft | Qt::TextSingleLine,
                          palette(), isEnabled(), shownText(), foregroundRole());
}

} // namespace quorvel::ui
