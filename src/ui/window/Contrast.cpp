#include "ui/window/Contrast.h"

#include "ui/window/Appearance.h"

#include <algorithm>
#include <cmath>
#include <initializer_list>

namespace quorvel::ui {

namespace {

double luminance(const QColor& color) {
    const auto linear = [](double part) {
        return part <= 0.04045 ? part / 12.92 : std::pow((part + 0.055) / 1.055, 2.4);
    };
    return 0.2126 * linear(color.redF()) + 0.7152 * linear(color.greenF()) +
           0.0722 * linear(color.blueF());
}

double leastContrast(const QColor& color, std::initializer_list<QColor> backgrounds) {
    double least = 21;
    for (const QColor& background : backgrounds)
        least = std::min(least, contrast(color, background));
    return least;
}

QColor mixed(const QColor& from, const QColor& to, float share) {
    const auto part = [share](float one, float other) { return one + (other - one) * share; };
    return QColor::fromRgbF(part(from.redF(), to.redF()), part(from.greenF(), to.greenF()),
                            part(from.blueF(), to.blueF()));
}

} // namespace

double contrast(const QColor& one, const QColor& other) {
    const auto [dark, light] = std::minmax({luminance(one), luminance(other)});
    return (light + 0.05) / (dark + 0.05);
}

QColor textOn(const QColor& background) {
    const QColor black(Qt::black);
    const QColor white(Qt::white);
    return contrast(black, background) > contrast(white, background) ? black : white;
}

QColor legibleOn(QColor color, std::initializer_list<QColor> backgrounds) {
    color.setAlphaF(1);
    const QColor end = leastContrast(Qt::black, backgrounds) > leastContrast(Qt::white, backgrounds)
                           ? Qt::black
                           : Qt::white;
    constexpr int steps = 32;
    for (int step = 0; step <= steps; ++step) {
        const QColor moved = mixed(color, end, static_cast<float>(step) / steps);
        if (leastContrast(moved, backgrounds) >= legible) return moved;
    }
    return end;
}

QPalette legiblePalette(QPalette palette) {
    using enum QPalette::ColorRole;
    for (const auto group : {QPalette::Active, QPalette::Inactive, QPalette::Disabled}) {
        const QColor window = palette.color(group, Window);
        const QColor base = palette.color(group, Base);
        // Of the window's text, because some dark desktops leave the placeholder's colour black.
        const QColor text = palette.color(QPalette::Active, WindowText);
        palette.setColor(group, secondaryText,
                         legibleOn(mixed(text, window, 0.4F), {window, base}));
        if (group != QPalette::Disabled) continue;
        const QColor button = palette.color(group, Button);
        for (const auto role : {WindowText, Text, ButtonText})
            palette.setColor(group, role,
                             legibleOn(palette.color(group, role), {window, base, button}));
    }
    return palette;
}

} // namespace quorvel::ui
