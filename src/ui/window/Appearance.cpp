#include "ui/window/Appearance.h"

#include "ui/window/SvgIcon.h"

#include <QLabel>
#include <QPainter>

namespace quorvel::ui {

QFont scaledFont(const QFont& font, double size, QFont::Weight weight) {
    QFont scaled(font);
    if (font.pointSizeF() > 0)
        scaled.setPointSizeF(font.pointSizeF() * size);
    else
        scaled.setPixelSize(qRound(font.pixelSize() * size));
    scaled.setWeight(weight);
    return scaled;
}

QLabel* plainLabel(const QString& text, QWidget* parent) {
    auto* label = new QLabel(parent);
    label->setTextFormat(Qt::PlainText);
    label->setText(text);
    return label;
}

QString literalTip(const QString& text) {
    constexpr int piece = 40; // characters; names may be longer than a screen is wide
    QString broken = text;
    for (qsizetype at = piece; at < broken.size(); at += piece + 1)
        broken.insert(at, QChar(0x200B)); // zero-width space
    return "<p style='white-space:pre-wrap'>" + broken.toHtmlEscaped() + "</p>";
}

QColor accentColor(const QPalette& palette) {
    return palette.color(QPalette::Active, QPalette::Highlight);
}

QPixmap tintedPixmap(const char* name, int size, double pixelRatio, const QColor& color) {
    QPixmap pixmap = svgPixmap(QLatin1String(name), size, pixelRatio);
    QPainter painter(&pixmap);
    painter.setCompositionMode(QPainter::CompositionMode_SourceIn);
    painter.fillRect(pixmap.rect(), color);
    return pixmap;
}

} // namespace quorvel::ui
