#include "ui/window/Picker.h"

#include <QAbstractItemView>
#include <QTimer>
#include <utility>

namespace quorvel::ui {

void Picker::listen() {
    // A choice by the user emits one after the other.
    connect(this, &QComboBox::currentIndexChanged, this, [this](int index) {
        hasChosen_ = true;
        QTimer::singleShot(0, this, [this] { hasChosen_ = false; });
        onChoice_(index);
    });
    connect(this, &QComboBox::activated, this, [this](int index) {
        if (!std::exchange(hasChosen_, false)) onChoice_(index);
    });
    // A selection may change in several steps.
    connect(view()->selectionModel(), &QItemSelectionModel::selectionChanged, this, [this] {
        const bool inOpenList = view()->isVisible();
        QTimer::singleShot(0, this, [this, inOpenList] { takeFromList(inOpenList); });
    });
}

// Assistive technology knows the items of the list, and can only select them, or deselect the
// current one. In the open list, keys and the pointer select as well, but move the focus too.
void Picker::takeFromList(bool inOpenList) {
    if (inOpenList != view()->isVisible()) return;
    const auto selected = view()->selectionModel()->selectedIndexes();
    if (selected.isEmpty() || !isEnabled()) return selectInList();
    const auto current = inOpenList ? view()->currentIndex().row() : currentIndex();
    if (selected.first().row() == current) return;
    hidePopup();
    setCurrentIndex(selected.first().row());
}

void Picker::selectInList() {
    if (view()->isVisible()) return;
    view()->selectionModel()->select(model()->index(currentIndex(), modelColumn()),
                                     QItemSelectionModel::ClearAndSelect);
}

void Picker::hidePopup() {
    QComboBox::hidePopup();
    selectInList();
}

} // namespace quorvel::ui
