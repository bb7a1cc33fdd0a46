#pragma once

#include "model/ServerModel.h"
#include "ui/desktop/MenuText.h"

#include <QMenu>
#include <functional>

namespace quorvel::ui {

/// What the menu asks of the program.
struct MenuActions {
    std::function<void()> openSettings;
    std::function<void()> quit;
};

/// The status line, start and stop, the settings window, quitting.
class TrayMenu final : public QMenu {
  public:
    TrayMenu(std::shared_ptr<model::ServerModel> model, MenuActions actions, MenuDrawnBy drawer);

  private:
    void refresh();

    const std::shared_ptr<model::ServerModel> model_;
    const MenuDrawnBy drawer_;
    QAction* status_;
    QAction* toggle_;
    model::Subscription subscription_;
};

/// Ctrl+Q, for the menu and for the window alike.
QAction* makeQuitAction(QObject* parent, std::function<void()> quit);

} // namespace quorvel::ui
