#include "ui/window/Picker.h"

#include <QWheelEvent>

namespace quorvel::ui {

Picker::Picker(QWidget* parent) : QComboBox(parent) {
    connect(this, &QComboBox::activated, this, [this](int index) {
        if (onChoice) onChoice(index);
    });
}

void Picker::addText(std::string_view text) {
    addItem(QString::fromUtf8(text.data(), static_cast<qsizetype>(text.size())));
}

// A choice takes effect at once, so scrolling over the picker must not make one.
void Picker::wheelEvent(QWheelEvent* event) {
    event->ignore();
}

} // namespace quorvel::ui
