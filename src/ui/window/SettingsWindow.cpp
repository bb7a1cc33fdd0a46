#include "ui/window/SettingsWindow.h"

#include "ui/window/AboutGroup.h"
#include "ui/window/Announcer.h"
#include "ui/window/Appearance.h"
#include "ui/window/Contrast.h"
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
#include <QScrollBar>
#include <QVBoxLayout>
#include <QWindow>
#include <algorithm>
#include <memory>
#include <utility>

namespace quorvel::ui {

namespace {

constexpr int windowWidth = 460;
constexpr int padding = 20;
constexpr int spacing = 16;

// Until the window manager has made one; a window as high as the screen may not get any.
constexpr QMargins likelyFrame(2, 40, 2, 2);

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
      scrollArea_(new QScrollArea(this)), content_(new QWidget(this)),
      folder_(new FolderGroup(model_, content_)), server_(new ServerGroup(model_, content_)),
      startButton_(new StartButton(model_, content_)),
      info_(new InfoGroup(model_, copyAction_, content_)), announcer_(new Announcer(this)) {
    setWindowTitle("Quorvel Server");
    // Window managers keep dialogs out of their task lists and do not minimise them.
    setWindowFlags(Qt::Window | Qt::CustomizeWindowHint | Qt::WindowTitleHint |
                   Qt::WindowSystemMenuHint | Qt::WindowMinimizeButtonHint |
                   Qt::WindowCloseButtonHint);
    setPalette(legiblePalette(palette()));
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
    auto* heading = plainLabel("Folder Server", content_);
    heading->setFont(scaledFont(heading->font(), textSize::title, QFont::Bold));
    heading->setFixedWidth(windowWidth - 2 * padding);

    auto* stack = new QVBoxLayout(content_);
    stack->setContentsMargins(padding, padding, padding, padding);
    stack->setSpacing(spacing);
    stack->setSizeConstraint(QLayout::SetFixedSize);
    stack->addWidget(heading);
    stack->addWidget(folder_);
    stack->addWidget(server_);
    stack->addWidget(startButton_);
    stack->addWidget(info_);
    stack->addWidget(new AboutGroup(version, content_));

    scrollArea_->setFrameShape(QFrame::NoFrame);
    scrollArea_->setFocusPolicy(Qt::NoFocus);
    scrollArea_->setWidget(content_);
    scrollArea_->viewport()->setAutoFillBackground(false);
    content_->setAutoFillBackground(false);
    content_->installEventFilter(this);
    auto* whole = new QVBoxLayout(this);
    whole->setContentsMargins({});
    whole->addWidget(scrollArea_);
}

void SettingsWindow::refresh() {
    // The focus must not stay on a control that is about to be disabled.
    if (model_->state().isActive() && focusIsOnASetting()) {
        startButton_->setFocus();
        scrollArea_->ensureWidgetVisible(startButton_);
    }
    folder_->refresh();
    server_->refresh();
    startButton_->refresh();
    info_->refresh();
    if (std::exchange(announced_, model_->state()) != model_->state()) announceState();
}

// People who do not see the window hear what their start has led to.
void SettingsWindow::announceState() {
    using Case = model::State::Case;
    if (announced_.kind != Case::running && announced_.kind != Case::failed) return;
    announcer_->announce(QString::fromStdString(model_->statusText()));
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
    if (event->type() == QEvent::ActivationChange) lookAtFrame();
    if (event->type() == QEvent::ApplicationPaletteChange)
        setPalette(legiblePalette(QGuiApplication::palette()));
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
    if (watched == content_) {
        if (event->type() == QEvent::Resize) fitToScreen();
        return false;
    }
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
    if (startButton_->isEnabled()) startButton_->setFocus();
    connect(windowHandle(), &QWindow::screenChanged, this, &SettingsWindow::fitToScreen);
    connect(screen(), &QScreen::availableGeometryChanged, this, &SettingsWindow::fitToScreen);
    fitToScreen();
    place();
}

void SettingsWindow::moveEvent(QMoveEvent* event) {
    QDialog::moveEvent(event);
    lookAtFrame();
}

// Window managers frame a window when they show it, which no event of its own tells.
void SettingsWindow::lookAtFrame() {
    if (!wasPlaced_ || frameIsKnown_ || windowHandle()->frameMargins().isNull()) return;
    frameIsKnown_ = true;
    fitToScreen();
    place();
}

QMargins SettingsWindow::frameMargins() const {
    return frameIsKnown_ ? windowHandle()->frameMargins() : likelyFrame;
}

void SettingsWindow::fitToScreen() {
    const QSize space = screen()->availableSize().shrunkBy(frameMargins());
    QSize wanted = content_->size();
    const bool isTooHigh = wanted.height() > space.height();
    if (isTooHigh) wanted.rwidth() += scrollArea_->verticalScrollBar()->sizeHint().width();
    const bool isTooWide = wanted.width() > space.width();
    if (isTooWide) wanted.rheight() += scrollArea_->horizontalScrollBar()->sizeHint().height();
    // Not "as needed": a window may be a pixel smaller than it should be where scales are
    // fractions.
    scrollArea_->setVerticalScrollBarPolicy(isTooHigh ? Qt::ScrollBarAlwaysOn
                                                      : Qt::ScrollBarAlwaysOff);
    scrollArea_->setHorizontalScrollBarPolicy(isTooWide ? Qt::ScrollBarAlwaysOn
                                                        : Qt::ScrollBarAlwaysOff);
    setFixedSize(wanted.boundedTo(space));
}

/// In the middle of the screen; never with the title bar, or the left edge, beyond it.
void SettingsWindow::place() {
    const QRect available = screen()->availableGeometry();
    QRect frame(QPoint(), size().grownBy(frameMargins()));
    frame.moveCenter(available.center());
    move(std::max(frame.x(), available.x()), std::max(frame.y(), available.y()));
}

} // namespace quorvel::ui
