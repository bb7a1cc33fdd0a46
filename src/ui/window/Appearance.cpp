#include "ui/window/Appearance.h"

#include <QIcon>
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

QColor accentColor(const QPalette& palette) {
    return palette.color(QPalette::Active, QPalette::Highlight);
}

QPalette secondaryTextPalette(const QPalette& palette) {
    QPalette secondary;
    for (const auto group : {QPalette::Active, QPalette::Inactive, QPalette::Disabled}) {
        QColor color = palette.color(group, QPalette::WindowText);
        if (group != QPalette::Disabled) color.setAlphaF(0.6F);
        secondary.setColor(group, secondaryText, color);
    }
    return secondary;
}

QPixmap tintedPixmap(const char* name, int size, double pixelRatio, const QColor& color) {
    const QIcon icon(QStringLiteral(":/icons/%1.svg").arg(QLatin1String(name)));
    QPixmap pixmap = icon.pixmap(QSize(size, size), pixelRatio);
    QPainter painter(&pixmap);
    painter.setCompositionMode(QPainter::CompositionMode_SourceIn);
    painter.fillRect(pixmap.rect(), color);
    return pixmap;
}

} // namespace quorvel::ui
