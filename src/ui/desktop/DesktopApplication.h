#pragma once

#include "model/CopyAction.h"
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

/// The program on the desktop: the one model, its tray icon with the menu, and the settings window.
/// There is always a way to reach it: where the desktop has no tray, the window.
class DesktopApplication final : public QObject {
  public:
    /// Reads the settings. Shows nothing yet.
    explicit DesktopApplication(std::shared_ptr<model::MainQueue> mainQueue);
    ~DesktopApplication() override;

    /// Shows the icon where there is a tray, else the window.
    void start();

    /// Brings the window forward, making it when it is needed first.
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

/// What closing the window does: it is never the last way to a server that runs.
Closing closingRule(TrayKind tray, bool serverIsActive);

} // namespace quorvel::ui
