#include "ui/Resources.h"

#include <QDir>

// The macro declares a function, which must be a global one.
static void initialise() {
    Q_INIT_RESOURCE(icons);
}

namespace quorvel::ui {

void loadResources() {
    initialise();
}

} // namespace quorvel::ui
