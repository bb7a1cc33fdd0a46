#include "ui/window/FolderGroup.h"

#include "ui/window/Appearance.h"
#include "ui/window/ElidedLabel.h"

#include <QHBoxLayout>
#include <memory>
#include <utility>

namespace quorvel::ui {

FolderGroup::FolderGroup(std::shared_ptr<model::ServerModel> model, QWidget* parent)
    : QGroupBox("Shared Folder", parent), model_(std::move(model)),
      folderText_(new ElidedLabel(this)), chooseButton_(new QPushButton("Choose…", this)) {
    folderText_->setObjectName("folderText");
    chooseButton_->setObjectName("chooseButton");
    chooseButton_->setAutoDefault(false);
    chooseButton_->setAccessibleDescription("Chooses the shared folder");
    connect(chooseButton_, &QPushButton::clicked, this,
            [model = model_] { model->chooseFolder(); });

    auto* row = new QHBoxLayout(this);
    row->setContentsMargins(groupMargins);
    row->setSpacing(8);
    row->addWidget(folderText_, 1);
    row->addWidget(chooseButton_);
}

void FolderGroup::refresh() {
    const bool chosen = !model_->folderPath().empty();
    folderText_->setText(chosen ? QString::fromStdString(model_->folderPath())
                                : QStringLiteral("No folder chosen"));
    folderText_->setForegroundRole(chosen ? QPalette::WindowText : secondaryText);
    chooseButton_->setEnabled(!model_->state().isActive());
}

} // namespace quorvel::ui
