#pragma once

#include <QColor>
#include <QPalette>
#include <initializer_list>

namespace quorvel::ui {

/// What every text is shown with at least (WCAG 2.1, 1.4.3).
inline constexpr double legible = 4.5;

/// The contrast of two opaque colours, from 1 to 21 (WCAG 2.1, contrast ratio).
double contrast(const QColor& one, const QColor& other);

/// Black or white, whichever has more contrast.
QColor textOn(const QColor& background);

/// The colour, moved towards black or white as little as makes it legible on all backgrounds, as
/// far as that is possible.
QColor legibleOn(QColor color, std::initializer_list<QColor> backgrounds);

/// The desktop's palette with legible texts also where they are less prominent: in what is
/// disabled, and for the role `secondaryText`.
QPalette legiblePalette(QPalette palette);

} // namespace quorvel::ui
