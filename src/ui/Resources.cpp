#include "ui/Resources.h"

#include <QDir>

// Q_INIT_RESOURCE declares a function and so must not be used inside a namespace.
static void initialise() {
    Q_INIT_RESOURCE(icons);
}

namespace quorvel::ui {

void loadResources() {
    initialise();
}

} // namespace quorvel::ui
