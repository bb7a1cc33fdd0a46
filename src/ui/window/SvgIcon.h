#pragma once

#include <QIcon>
#include <QPixmap>
#include <QString>

namespace quorvel::ui {

/// One of the program's icons (":/icons/<name>.svg"), drawn by the program itself: Qt's plugin for
/// such images may not be installed. The size is in device-independent pixels.
QPixmap svgPixmap(const QString& name, int size, double pixelRatio);

/// The same in every size that a desktop may ask for.
QIcon svgIcon(const QString& name);

} // namespace quorvel::ui
