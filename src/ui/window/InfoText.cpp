#include "ui/window/InfoText.h"

#include "ui/window/Appearance.h"
#include "ui/window/Contrast.h"

#include <QEvent>
#include <QFontDatabase>
#include <QFontInfo>
#include <QPainter>
#include <QScrollBar>
#include <QStyle>
#include <QTextDocument>
#include <QTextLayout>
#include <algorithm>
#include <cmath>

namespace quorvel::ui {

namespace {

constexpr int usualHeight = 84;
constexpr int lines = 5;
constexpr int signMargin = 6;

QFont fixedPitchFont() {
    QFont font = QFontDatabase::systemFont(QFontDatabase::FixedFont);
    // Where no desktop names one, Qt may give a proportional font.
    if (QFontInfo(font).fixedPitch()) return font;
    for (const QString& family : QFontDatabase::families(QFontDatabase::Latin)) {
        if (!QFontDatabase::isFixedPitch(family) || !QFontDatabase::isScalable(family)) continue;
        font.setFamily(family);
        break;
    }
    return font;
}

/// As it is laid out, which no font metric tells.
double lineHeight(const QFont& font) {
    QTextLayout line("x", font);
    line.beginLayout();
    line.createLine();
    line.endLayout();
    return line.boundingRect().height();
}

} // namespace

InfoText::InfoText(QWidget* parent) : QPlainTextEdit(parent), errorSign_(new QLabel(this)) {
    setObjectName("infoText");
    setAccessibleName("Info");
    setReadOnly(true);
    setTextInteractionFlags(Qt::TextSelectableByMouse | Qt::TextSelectableByKeyboard);
    setTabChangesFocus(true);
    setLineWrapMode(QPlainTextEdit::NoWrap);
    errorSign_->setObjectName("errorSign");
    errorSign_->hide();
    connect(horizontalScrollBar(), &QScrollBar::rangeChanged, this, &InfoText::fitHeight);
    followFont();
}

void InfoText::show(const QString& text, bool isError) {
    if (errorSign_->isHidden() == isError) {
        errorSign_->setVisible(isError);
        const int side = style()->pixelMetric(QStyle::PM_LargeIconSize, nullptr, this);
        if (isError)
            errorSign_->setPixmap(
                style()->standardIcon(QStyle::SP_MessageBoxCritical, nullptr, this).pixmap(side));
        errorSign_->setGeometry(frameWidth() + signMargin, frameWidth() + signMargin, side, side);
        setViewportMargins(isError ? side + 2 * signMargin : 0, 0, 0, 0);
    }
    if (toPlainText() != text) setPlainText(text);
}

void InfoText::followFont() {
    const QFont sized = scaledFont(parentWidget()->font(), textSize::callout);
    QFont font = fixedPitchFont();
    if (sized.pointSizeF() > 0)
        font.setPointSizeF(sized.pointSizeF());
    else
        font.setPixelSize(sized.pixelSize());
    setFont(font);
    fitHeight();
}

// The bar for lines that are too long has a place of its own below the five.
void InfoText::fitHeight() {
    // QPlainTextEdit offers to scroll unless a third margin and a pixel stay free.
    const double margins = 3 * document()->documentMargin() + 1 + 2 * frameWidth();
    const int needed = static_cast<int>(std::ceil(lines * lineHeight(font()) + margins));
    const bool isTooLong = horizontalScrollBar()->maximum() > 0;
    const int bar = isTooLong ? horizontalScrollBar()->sizeHint().height() : 0;
    setFixedHeight(std::max(needed, usualHeight) + bar);
}

void InfoText::changeEvent(QEvent* event) {
    QPlainTextEdit::changeEvent(event);
    if (event->type() == QEvent::ApplicationFontChange) followFont();
}

// The ring is as large as what shows, not as what has changed.
void InfoText::focusInEvent(QFocusEvent* event) {
    QPlainTextEdit::focusInEvent(event);
    viewport()->update();
}

void InfoText::focusOutEvent(QFocusEvent* event) {
    QPlainTextEdit::focusOutEvent(event);
    viewport()->update();
}

void InfoText::scrollContentsBy(int right, int down) {
    QPlainTextEdit::scrollContentsBy(right, down);
    viewport()->update();
}

void InfoText::paintEvent(QPaintEvent* event) {
    QPlainTextEdit::paintEvent(event);
    if (!hasFocus()) return;
    QPainter painter(viewport());
    const QColor base = palette().color(QPalette::Base);
    painter.setPen(QPen(legibleOn(accentColor(palette()), {base}), 2));
    painter.drawRect(viewport()->rect().adjusted(1, 1, -1, -1));
}

} // namespace quorvel::ui
