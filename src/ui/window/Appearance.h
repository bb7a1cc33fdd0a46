#pragma once

#include <QFont>
#include <QPalette>
#include <QPixmap>

class QLabel;
class QString;
class QWidget;

namespace quorvel::ui {

/// Sizes of text, in parts of the desktop's own.
namespace textSize {
inline constexpr double title = 1.3;
inline constexpr double body = 1.0;
inline constexpr double callout = 0.925;
inline constexpr double caption = 0.85;
} // namespace textSize

QFont scaledFont(const QFont& font, double size, QFont::Weight weight = QFont::Normal);

/// A label that shows exactly this text.
QLabel* plainLabel(const QString& text, QWidget* parent);

/// The colour in which the desktop marks things.
QColor tintColor(const QPalette& palette);

/// Text in this colour stands back behind the other.
inline constexpr QPalette::ColorRole secondaryText = QPalette::PlaceholderText;

/// Only that colour, made of the others: some desktops leave it black on their dark windows.
QPalette secondaryTextPalette(const QPalette& palette);

/// One of our own icons (":/icons/<name>.svg"), all of it in one colour, for a screen of this
/// many pixels per unit.
QPixmap tintedPixmap(const char* name, int size, double pixelRatio, const QColor& color);

} // namespace quorvel::ui
