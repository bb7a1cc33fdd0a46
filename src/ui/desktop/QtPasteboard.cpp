#include "ui/desktop/QtPasteboard.h"

#include <QClipboard>
#include <QGuiApplication>
#include <string>

namespace quorvel::ui {

void QtPasteboard::setText(const std::string& text) {
    QGuiApplication::clipboard()->setText(QString::fromStdString(text));
}

} // namespace quorvel::ui
