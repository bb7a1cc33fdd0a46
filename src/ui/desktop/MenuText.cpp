#include "ui/desktop/MenuText.h"

namespace quorvel::ui {

QString shortStatus(const std::string& status) {
    constexpr qsizetype longest = 40;
    QString text = QString::fromStdString(status);
    // In a link "@" itself is percent-encoded (RFC 3986, 3.2.1).
    const auto start = text.indexOf(u"://") + 3;
    const auto length = text.indexOf(u'@', start) - start;
    if (start < 3 || length <= longest) return text;
    return text.replace(start + longest / 2, length - longest, QStringLiteral("…"));
}

QString menuText(const QString& text, MenuDrawnBy drawer) {
    QString escaped = text;
    if (drawer == MenuDrawnBy::ourselves) return escaped.replace(u'&', QStringLiteral("&&"));
    escaped.replace(u'_', QStringLiteral("__"));
    if (const auto first = escaped.indexOf(u'&'); first >= 0) escaped.insert(first, u'&');
    return escaped;
}

} // namespace quorvel::ui
