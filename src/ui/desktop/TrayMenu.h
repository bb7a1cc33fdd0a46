#pragma once

#include "model/ServerModel.h"
#include "ui/desktop/MenuText.h"

#include <QMenu>
#include <functional>
#include <memory>

namespace quorvel::ui {

/// What the menu's entries call.
struct MenuActions {
    std::function<void()> openSettings;
    std::function<void()> quit;
};

/// The tray icon's menu: the status line, start or stop, the settings window, quit.
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

/// Makes the action for Ctrl+Q; the menu and the window have one each.
QAction* makeQuitAction(QObject* parent, std::function<void()> quit);

} // namespace quorvel::ui
