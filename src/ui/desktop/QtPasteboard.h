#pragma once

#include "model/Pasteboard.h"

#include <string>

namespace quorvel::ui {

/// The desktop's clipboard.
class QtPasteboard final : public model::Pasteboard {
  public:
    void setText(const std::string& text) override;
};

} // namespace quorvel::ui
