#pragma once

#include "model/ModelFixture.h"
#include "ui/SettingsWindow.h"

#include <QTest>

namespace quorvel::ui {

/// A window on a model among fakes.
class WindowFixture : public model::ModelFixture {
  protected:
    void open(std::shared_ptr<model::ServerModel> model, const QString& version = "1.0.0") {
        model_ = std::move(model);
        copyAction_ = model::CopyAction::create(model_, pasteboard_, queue_);
        window_ = std::make_unique<SettingsWindow>(model_, copyAction_, version);
        window_->show();
    }

    template <class Widget = QWidget>
    Widget& child(const char* name) const {
        auto* found = window_->findChild<Widget*>(name);
        if (found == nullptr) throw std::invalid_argument(name);
        return *found;
    }

    std::string text(const char* name) const {
        return child(name).property("text").toString().toStdString();
    }

    /// What the user types over the field's text; the editing does not end.
    void type(const char* field, const QString& text) const {
        auto& edit = child(field);
        edit.setFocus();
        QTest::keySequence(&edit, QKeySequence::SelectAll);
        QTest::keyClick(&edit, Qt::Key_Delete);
        for (const QChar character : text) {
            QKeyEvent press(QEvent::KeyPress, Qt::Key_unknown, {}, character);
            QCoreApplication::sendEvent(&edit, &press);
        }
    }

    std::shared_ptr<model::ServerModel> model_;
    std::shared_ptr<model::CopyAction> copyAction_;
    std::unique_ptr<SettingsWindow> window_;
};

} // namespace quorvel::ui
