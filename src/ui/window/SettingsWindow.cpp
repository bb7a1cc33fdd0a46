#include "ui/window/SettingsWindow.h"

#include "ui/window/AboutGroup.h"
#include "ui/window/Appearance.h"
#include "ui/window/FolderGroup.h"
#include "ui/window/InfoGroup.h"
#include "ui/window/ServerGroup.h"
#include "ui/window/StartButton.h"

#include <QAbstractButton>
#include <QCloseEvent>
#include <QGroupBox>
#include <QGuiApplication>
#include <QKeyEvent>
#include <QLabel>
#include <QScreen>
#include <QVBoxLayout>

namespace quorvel::ui {

namespace {

constexpr int windowWidth = 460;
constexpr int padding = 20;
constexpr int spacing = 16;

bool isReturn(const QEvent& event) {
    if (event.type() != QEvent::KeyPress && event.type() != QEvent::KeyRelease) return false;
    const int key = static_cast<const QKeyEvent&>(event).key();
    return key == Qt::Key_Return || key == Qt::Key_Enter;
}

} // namespace

SettingsWindow::SettingsWindow(std::shared_ptr<model::ServerModel> model,
                               std::shared_ptr<model::CopyAction> copyAction,
                               const QString& version)
    : model_(std::move(model)), copyAction_(std::move(copyAction)),
      folder_(new FolderGroup(model_, this)), server_(new ServerGroup(model_, this)),
      startButton_(new StartButton(model_, this)), info_(new InfoGroup(model_, copyAction_, this)) {
    setWindowTitle("Quorvel Server");
    // Window managers keep dialogs out of their task lists and do not minimise them.
    setWindowFlags(Qt::Window | Qt::CustomizeWindowHint | Qt::WindowTitleHint |
                   Qt::WindowSystemMenuHint | Qt::WindowMinimizeButtonHint |
                   Qt::WindowCloseButtonHint);
    setPalette(secondaryTextPalette(palette()));
    arrange(version);
    leaveReturnToTheWindow();
    subscription_ = model_->onChange([this] { refresh(); });
    copyAction_->onChange = [this] { refresh(); };
    refresh();
}

SettingsWindow::~SettingsWindow() {
    copyAction_->onChange = nullptr;
}

void SettingsWindow::arrange(const QString& version) {
    auto* heading = plainLabel("Folder Server", this);
    heading->setFont(scaledFont(heading->font(), textSize::title, QFont::Bold));
    heading->setFixedWidth(windowWidth - 2 * padding);

    auto* stack = new QVBoxLayout(this);
    stack->setContentsMargins(padding, padding, padding, padding);
    stack->setSpacing(spacing);
    stack->setSizeConstraint(QLayout::SetFixedSize);
    stack->addWidget(heading);
    stack->addWidget(folder_);
    stack->addWidget(server_);
    stack->addWidget(startButton_);
    stack->addWidget(info_);
    stack->addWidget(new AboutGroup(version, this));
}

void SettingsWindow::refresh() {
    // The focus must not stay on a control that is about to be disabled.
    if (model_->state().isActive() && focusIsOnASetting()) startButton_->setFocus();
    folder_->refresh();
    server_->refresh();
    startButton_->refresh();
    info_->refresh();
}

bool SettingsWindow::focusIsOnASetting() const {
    const QWidget* focused = focusWidget();
    return focused != nullptr && (folder_->isAncestorOf(focused) || server_->isAncestorOf(focused));
}

void SettingsWindow::reject() {
    close();
}

void SettingsWindow::changeEvent(QEvent* event) {
    QDialog::changeEvent(event);
    if (event->type() == QEvent::ApplicationPaletteChange)
        setPalette(secondaryTextPalette(QGuiApplication::palette()));
}

void SettingsWindow::closeEvent(QCloseEvent* event) {
    switch (closing ? closing() : Closing::hides) {
    case Closing::hides:
        return event->accept();
    case Closing::minimises:
        event->ignore();
        return showMinimized();
    case Closing::quits:
        event->accept();
        if (onQuit) onQuit();
    }
}

// On some desktops (QPlatformTheme::ButtonPressKeys) Return presses the focused button, and a group
// box accepts it when its fields ignore it. Here it is meant for the window's default button.
void SettingsWindow::leaveReturnToTheWindow() {
    for (auto* button : findChildren<QAbstractButton*>())
        button->installEventFilter(this);
    for (auto* group : findChildren<QGroupBox*>())
        group->installEventFilter(this);
}

bool SettingsWindow::eventFilter(QObject* watched, QEvent* event) {
    if (!isReturn(*event)) return QDialog::eventFilter(watched, event);
    event->ignore();
    return true;
}

// A key held down would start and stop the server by turns.
void SettingsWindow::keyPressEvent(QKeyEvent* event) {
    if (isReturn(*event) && event->isAutoRepeat()) return;
    QDialog::keyPressEvent(event);
}

void SettingsWindow::showEvent(QShowEvent* event) {
    QDialog::showEvent(event);
    if (std::exchange(wasPlaced_, true)) return;
    const QRect available = screen()->availableGeometry();
    move(available.center() - QPoint(width(), height()) / 2);
}

} // namespace quorvel::ui
