#include "ui/desktop/MenuText.h"

namespace quorvel::ui {

QString menuText(const QString& text, MenuDrawnBy drawer) {
    QString escaped = text;
    if (drawer == MenuDrawnBy::ourselves) return escaped.replace(u'&', QStringLiteral("&&"));
    escaped.replace(u'_', QStringLiteral("__"));
    if (const auto first = escaped.indexOf(u'&'); first >= 0) escaped.insert(first, u'&');
    return escaped;
}

} // namespace quorvel::ui
