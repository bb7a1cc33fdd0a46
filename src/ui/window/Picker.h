#pragma once

#include <QComboBox>
#include <QSignalBlocker>
#include <QTimer>
#include <QWheelEvent>
#include <utility>

namespace quorvel::ui {

/// A combo box that offers the values of an enumeration by the texts of their `rawValue`.
class Picker final : public QComboBox {
  public:
    using QComboBox::QComboBox;

    /// `onChoice` is called with the value that the user or assistive technology chooses; for the
    /// user also if it is the current one.
    template <class Values, class OnChoice>
    void offer(const Values& values, const OnChoice& onChoice) {
        for (const auto value : values)
            addItem(QString::fromUtf8(rawValue(value)), static_cast<int>(value));
        const auto choose = [this, onChoice](int index) {
            onChoice(static_cast<typename Values::value_type>(itemData(index).toInt()));
        };
        // A choice by the user emits one after the other.
        connect(this, &QComboBox::currentIndexChanged, this, [this, choose](int index) {
            hasChosen_ = true;
            QTimer::singleShot(0, this, [this] { hasChosen_ = false; });
            choose(index);
        });
        connect(this, &QComboBox::activated, this, [this, choose](int index) {
            if (!std::exchange(hasChosen_, false)) choose(index);
        });
    }

    template <class Value>
    void select(Value value) {
        const QSignalBlocker nothingIsChosen(this);
        setCurrentIndex(findData(static_cast<int>(value)));
    }

  protected:
    /// A choice takes effect at once, so scrolling over the picker must not make one.
    void wheelEvent(QWheelEvent* event) override { event->ignore(); }

  private:
    bool hasChosen_ = false;
};

} // namespace quorvel::ui
