#pragma once

#include <QFont>
#include <QMargins>
#include <QPalette>
#include <QPixmap>

class QLabel;
class QString;
class QWidget;

namespace quorvel::ui {

/// Text sizes, relative to that of the desktop's font.
namespace textSize {
inline constexpr double title = 1.3;
inline constexpr double body = 1.0;
inline constexpr double callout = 0.925;
inline constexpr double caption = 0.85;
} // namespace textSize

/// Around the contents of each group.
inline constexpr QMargins groupMargins(8, 8, 8, 8);

QFont scaledFont(const QFont& font, double size, QFont::Weight weight = QFont::Normal);

/// A label that shows the text literally, never as rich text.
QLabel* plainLabel(const QString& text, QWidget* parent);

/// A tool tip that shows the text literally, never as rich text, and breaks it anywhere.
QString literalTip(const QString& text);

/// The accent colour: the desktop's highlight colour.
QColor accentColor(const QPalette& palette);

/// The colour role of less prominent text.
inline constexpr QPalette::ColorRole secondaryText = QPalette::PlaceholderText;

/// One of the program's icons (":/icons/<name>.svg") in a single colour; the size is in
/// device-independent pixels.
QPixmap tintedPixmap(const char* name, int size, double pixelRatio, const QColor& color);

} // namespace quorvel::ui
