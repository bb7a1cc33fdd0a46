#pragma once

#include <QComboBox>
#include <QWheelEvent>

namespace quorvel::ui {

/// A combo box that offers the values of an enumeration by the texts of their `rawValue`.
class Picker final : public QComboBox {
  public:
    using QComboBox::QComboBox;

    /// `onChoice` is called with the value that the user chooses, even if it is the current one.
    template <class Values, class OnChoice>
    void offer(const Values& values, const OnChoice& onChoice) {
        for (const auto value : values)
            addItem(QString::fromUtf8(rawValue(value)), static_cast<int>(value));
        connect(this, &QComboBox::activated, this, [this, onChoice](int index) {
            onChoice(static_cast<typename Values::value_type>(itemData(index).toInt()));
        });
    }

    template <class Value>
    void select(Value value) {
        setCurrentIndex(findData(static_cast<int>(value)));
    }

  protected:
    /// A choice takes effect at once, so scrolling over the picker must not make one.
    void wheelEvent(QWheelEvent* event) override { event->ignore(); }
};

} // namespace quorvel::ui
