#include "ui/desktop/TrayMenu.h"

#include <memory>
#include <utility>

namespace quorvel::ui {

QAction* makeQuitAction(QObject* parent, std::function<void()> quit) {
    auto* action = new QAction("Quit Quorvel Server", parent);
    action->setShortcut(QKeySequence(Qt::CTRL | Qt::Key_Q));
    QObject::connect(action, &QAction::triggered, action, std::move(quit));
    return action;
}

namespace {

/// The status cannot be chosen, but it is what people open the menu for.
QPalette statusPalette(QPalette palette) {
    for (const auto role : {QPalette::WindowText, QPalette::Text, QPalette::ButtonText})
        palette.setColor(QPalette::Disabled, role, palette.color(QPalette::Active, role));
    return palette;
}

} // namespace

TrayMenu::TrayMenu(std::shared_ptr<model::ServerModel> model, MenuActions actions,
                   MenuDrawnBy drawer)
    : model_(std::move(model)), drawer_(drawer), status_(addAction(QString())),
      toggle_(addAction(QString(), this, [model = model_] { model->toggle(); })) {
    status_->setEnabled(false);
    setPalette(statusPalette(palette()));
    addSeparator();
    addAction("Settings…", this, std::move(actions.openSettings));
    addSeparator();
    addAction(makeQuitAction(this, std::move(actions.quit)));
    subscription_ = model_->onChange([this] { refresh(); });
    refresh();
}

void TrayMenu::refresh() {
    status_->setText(menuText(shortStatus(model_->statusText()), drawer_));
    toggle_->setText(model_->state().isActive() ? "Stop Server" : "Start Server");
}

} // namespace quorvel::ui
