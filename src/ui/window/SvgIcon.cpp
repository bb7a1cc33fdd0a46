#include "ui/window/SvgIcon.h"

#include <QPainter>
#include <QSvgRenderer>

namespace quorvel::ui {

namespace {

// The usual sizes of icons, at the usual scales.
constexpr int sizes[] = {16, 22, 24, 32, 33, 36, 44, 48, 64, 66, 72, 96, 128, 256};

QPixmap drawn(QSvgRenderer& drawing, int side) {
    QPixmap pixmap(side, side);
    pixmap.fill(Qt::transparent);
    QPainter painter(&pixmap);
    drawing.render(&painter);
    return pixmap;
}

QString fileOf(const QString& name) {
    return ":/icons/" + name + ".svg";
}

} // namespace

QPixmap svgPixmap(const QString& name, int size, double pixelRatio) {
    QSvgRenderer drawing(fileOf(name));
    QPixmap pixmap = drawn(drawing, qRound(size * pixelRatio));
    pixmap.setDevicePixelRatio(pixelRatio);
    return pixmap;
}

QIcon svgIcon(const QString& name) {
    QSvgRenderer drawing(fileOf(name));
    QIcon icon;
    for (const int side : sizes)
        icon.addPixmap(drawn(drawing, side));
    return icon;
}

} // namespace quorvel::ui
