// Draws an SVG image as a PNG image of the given size: the icons that a package installs.

#include <QImage>
#include <QPainter>
#include <QString>
#include <QSvgRenderer>
#include <cstdio>
#include <cstdlib>

int main(int argumentCount, char** arguments) {
    if (argumentCount != 4) {
        std::fputs("usage: draw-icon SVG SIZE PNG\n", stderr);
        return 2;
    }
    QSvgRenderer drawing(QString::fromLocal8Bit(arguments[1]));
    const int side = QString::fromLocal8Bit(arguments[2]).toInt();
    QImage image(side, side, QImage::Format_ARGB32);
    image.fill(Qt::transparent);
    QPainter painter(&image);
    drawing.render(&painter);
    painter.end();
    const bool isWritten = drawing.isValid() && image.save(QString::fromLocal8Bit(arguments[3]));
    return isWritten ? EXIT_SUCCESS : EXIT_FAILURE;
}
