#include "ui/desktop/QtFolderChooser.h"

#include <QDir>
#include <QEventLoop>
#include <QFile>
#include <QFileDialog>
#include <optional>
#include <string>

namespace quorvel::ui {

namespace {

void openAt(QFileDialog& dialog, const QString& folder) {
    const QFileInfo current(folder);
    if (folder.isEmpty() || !current.isDir()) return dialog.setDirectory(QDir::homePath());
    dialog.setDirectory(current.absolutePath());
    dialog.selectFile(current.fileName());
}

/// Waits in a Qt event loop even if the dialog is GTK's, whose own would not end with the program.
bool isAccepted(QFileDialog& dialog) {
    QEventLoop waiting;
    QObject::connect(&dialog, &QDialog::finished, &waiting, &QEventLoop::exit);
    dialog.open();
    return waiting.exec() == QDialog::Accepted;
}

} // namespace

std::optional<std::string> QtFolderChooser::chooseFolder(const model::FolderPanelTexts& texts) {
    QFileDialog dialog(parentWindow_, QString::fromStdString(texts.message));
    dialog.setFileMode(QFileDialog::Directory);
    dialog.setOption(QFileDialog::ShowDirsOnly);
    dialog.setLabelText(QFileDialog::Accept, QString::fromStdString(texts.prompt));
    openAt(dialog, QString::fromStdString(currentFolder_));
    if (!isAccepted(dialog) || dialog.selectedFiles().isEmpty()) return std::nullopt;
    currentFolder_ = QFile::encodeName(dialog.selectedFiles().constFirst()).toStdString();
    return currentFolder_;
}

} // namespace quorvel::ui
