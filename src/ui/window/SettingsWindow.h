#pragma once

#include "model/CopyAction.h"
#include "model/ServerModel.h"

#include <QDialog>
#include <QScrollArea>
#include <functional>
#include <memory>

namespace quorvel::ui {

class Announcer;
class FolderGroup;
class InfoGroup;
class ServerGroup;
class StartButton;

/// What happens when the user closes the window.
enum class Closing { hides, minimises, quits };

/// Every control edits the model at once; there is nothing to apply or cancel. It is a QDialog
/// because only in a dialog does Return press the default button.
class SettingsWindow final : public QDialog {
  public:
    SettingsWindow(std::shared_ptr<model::ServerModel> model,
                   std::shared_ptr<model::CopyAction> copyAction, const QString& version);
    ~SettingsWindow() override;

    /// Called whenever the user closes the window, to decide what happens.
    std::function<Closing()> closing;
    /// Called when closing the window ends the program.
    std::function<void()> onQuit;

    /// Escape closes the window like the close button in its frame.
    void reject() override;

  protected:
    bool eventFilter(QObject* watched, QEvent* event) override;
    void changeEvent(QEvent* event) override;
    void closeEvent(QCloseEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;
    void moveEvent(QMoveEvent* event) override;
    void showEvent(QShowEvent* event) override;

  private:
    void arrange(const QString& version);
    void leaveReturnToTheWindow();
    void lookAtFrame();
    QMargins frameMargins() const;
    void fitToScreen();
    void place();
    void refresh();
    void announceState();
    bool focusIsOnASetting() const;

    const std::shared_ptr<model::ServerModel> model_;
    const std::shared_ptr<model::CopyAction> copyAction_;
    /// Scrolls the content on a screen that is too small for it.
    QScrollArea* scrollArea_;
    QWidget* content_;
    FolderGroup* folder_;
    ServerGroup* server_;
    StartButton* startButton_;
    InfoGroup* info_;
    Announcer* announcer_;
    model::Subscription subscription_;
    model::State announced_;
    bool wasPlaced_ = false;
    bool frameIsKnown_ = false;
};

} // namespace quorvel::ui
