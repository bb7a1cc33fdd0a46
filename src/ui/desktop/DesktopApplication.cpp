#include "ui/desktop/DesktopApplication.h"

#include "model/CopyAction.h"
#include "platform/files/SettingsFile.h"
#include "ui/desktop/MenuText.h"
#include "ui/desktop/QtPasteboard.h"
#include "ui/window/SvgIcon.h"

#include <QApplication>
#include <QCursor>
#include <QWindow>
#include <chrono>
#include <utility>

namespace quorvel::ui {

namespace {

using namespace std::chrono_literals;

// What a desktop's panel may take longer to start than a program that starts with it.
constexpr auto trayPatience = 4s;

bool drawsOwnPopups() {
    return QGuiApplication::platformName() == "xcb";
}

// Not `quit`, which a window that minimises instead of closing would cancel.
void endProgram() {
    QCoreApplication::exit();
}

std::shared_ptr<model::ServerModel> makeModel(std::shared_ptr<model::MainQueue> mainQueue,
                                              std::shared_ptr<model::FolderChooser> chooser) {
    model::Services services;
    services.mainQueue = std::move(mainQueue);
    services.defaults = std::make_shared<platform::SettingsFile>();
    services.folderChooser = std::move(chooser);
    return model::ServerModel::create(std::move(services));
}

} // namespace

Closing closingRule(TrayKind tray, bool serverIsActive) {
    if (tray != TrayKind::none) return Closing::hides;
    return serverIsActive ? Closing::minimises : Closing::quits;
}

DesktopApplication::DesktopApplication(std::shared_ptr<model::MainQueue> mainQueue)
    : mainQueue_(std::move(mainQueue)), folderChooser_(std::make_shared<QtFolderChooser>()),
      model_(makeModel(mainQueue_, folderChooser_)),
      actions_{.openSettings = [this] { openSettings(); }, .quit = endProgram},
      idleIcon_(svgIcon("drive")), runningIcon_(svgIcon("drive-check")) {
    folderChooser_->setCurrentFolder(model_->folderPath());
    trayWatcher_.onChange = [this](TrayKind kind) { trayChanged(kind); };
    subscription_ = model_->onChange([this] { refreshIcon(); });
}

DesktopApplication::~DesktopApplication() = default;

void DesktopApplication::start(bool isAwaited) {
    const bool isNewcomer = model_->folderPath().empty();
    trayWatcher_.start(isAwaited || isNewcomer ? 0ms : trayPatience);
}

void DesktopApplication::trayChanged(TrayKind kind) {
    tray_ = kind;
    if (tray_ != TrayKind::none && !icon_) makeTrayIcon();
    const bool isFirst = !std::exchange(hasStarted_, true);
    const bool isNewcomer = isFirst && model_->folderPath().empty();
    if (tray_ != TrayKind::none && !isNewcomer) return;
    if (!window_ || !window_->isVisible()) openSettings();
}

void DesktopApplication::makeTrayIcon() {
    menu_ = std::make_unique<TrayMenu>(model_, actions_, MenuDrawnBy::ourselves);
    icon_ = std::make_unique<QSystemTrayIcon>();
    if (tray_ == TrayKind::statusNotifier) {
        hostMenu_ = std::make_unique<TrayMenu>(model_, actions_, MenuDrawnBy::trayHost);
        icon_->setContextMenu(hostMenu_.get());
    } else {
        icon_->setContextMenu(menu_.get());
    }
    connect(icon_.get(), &QSystemTrayIcon::activated, this,
            [this](QSystemTrayIcon::ActivationReason reason) {
                if (reason == QSystemTrayIcon::Trigger) leftClicked();
            });
    refreshIcon();
    icon_->show();
}

void DesktopApplication::leftClicked() {
    // On Wayland a program neither knows the pointer's position nor may it open a menu there.
    if (!drawsOwnPopups()) return openSettings();
    menu_->popup(QCursor::pos());
}

void DesktopApplication::refreshIcon() {
    if (!icon_) return;
    icon_->setToolTip(shortStatus(model_->statusText()));
    const bool running = model_->state().kind == model::State::Case::running;
    if (std::exchange(shownAsRunning_, running) == running) return;
    icon_->setIcon(running ? runningIcon_ : idleIcon_);
}

void DesktopApplication::openSettings(const QString& activationToken) {
    SettingsWindow& window = this->window();
    window.setWindowState(window.windowState() & ~Qt::WindowMinimized);
    window.show();
    window.raise();
    // On Wayland Qt takes the token from the environment.
    if (!activationToken.isEmpty()) qputenv("XDG_ACTIVATION_TOKEN", activationToken.toUtf8());
    window.activateWindow();
    X11Desktop::activate(*window.windowHandle());
}

SettingsWindow& DesktopApplication::window() {
    if (window_) return *window_;
    const auto copyAction =
        model::CopyAction::create(model_, std::make_shared<QtPasteboard>(), mainQueue_);
    window_ = std::make_unique<SettingsWindow>(model_, copyAction,
                                               QCoreApplication::applicationVersion());
    window_->closing = [this] { return closingRule(tray_, model_->state().isActive()); };
    window_->onQuit = endProgram;
    window_->addAction(makeQuitAction(window_.get(), endProgram));
    folderChooser_->setParentWindow(window_.get());
    return *window_;
}

} // namespace quorvel::ui
