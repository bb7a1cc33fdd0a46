#pragma once

#include "model/ServerModel.h"
#include "ui/desktop/QtFolderChooser.h"
#include "ui/desktop/TrayMenu.h"
#include "ui/desktop/TrayWatcher.h"
#include "ui/window/SettingsWindow.h"

#include <QIcon>
#include <QSystemTrayIcon>
#include <memory>
#include <optional>

namespace quorvel::ui {

/// The desktop program: its model, the tray icon with the menu, and the settings window. The user
/// can always reach it: on a desktop without a tray, through the window.
class DesktopApplication final : public QObject {
  public:
    /// Reads the settings; shows nothing until `start`.
    explicit DesktopApplication(std::shared_ptr<model::MainQueue> mainQueue);
    ~DesktopApplication() override;

    /// Shows the icon if the desktop has a tray, otherwise the window; to newcomers, who have no
    /// folder yet, the window in any case. If nobody waits for it, as at login, a tray has a few
    /// seconds to come.
    void start(bool isAwaited);

    /// Brings the window to the front; the first call creates it.
    void openSettings(const QString& activationToken = {});

  private:
    void trayChanged(TrayKind kind);
    void makeTrayIcon();
    void leftClicked();
    void refreshIcon();
    SettingsWindow& window();

    const std::shared_ptr<model::MainQueue> mainQueue_;
    const std::shared_ptr<QtFolderChooser> folderChooser_;
    const std::shared_ptr<model::ServerModel> model_;
    const MenuActions actions_;
    bool hasStarted_ = false;
    std::optional<bool> shownAsRunning_;
    const QIcon idleIcon_;
    const QIcon runningIcon_;

    TrayWatcher trayWatcher_;
    TrayKind tray_ = TrayKind::none;
    std::unique_ptr<TrayMenu> hostMenu_;
    std::unique_ptr<TrayMenu> menu_;
    std::unique_ptr<QSystemTrayIcon> icon_;
    std::unique_ptr<SettingsWindow> window_;
    model::Subscription subscription_;
};

/// What closing the window does. It never leaves a running server out of the user's reach.
Closing closingRule(TrayKind tray, bool serverIsActive);

} // namespace quorvel::ui
