#pragma once

#include "model/ServerModel.h"

#include <QPushButton>
#include <memory>

namespace quorvel::ui {

/// Starts the server or, in red, stops it. It paints itself because few styles honour a colour.
class StartButton final : public QPushButton {
  public:
    StartButton(std::shared_ptr<model::ServerModel> model, QWidget* parent);
    void refresh();

  protected:
    void paintEvent(QPaintEvent* event) override;

  private:
    QColor background() const;

    const std::shared_ptr<model::ServerModel> model_;
};

} // namespace quorvel::ui
