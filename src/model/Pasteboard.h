#pragma once

#include <string>

namespace quorvel::model {

/// The system's clipboard. Implemented by the desktop. Main thread.
class Pasteboard {
  public:
    virtual ~Pasteboard() = default;

    /// Replaces the contents with this plain text (UTF-8).
    virtual void setText(const std::string& text) = 0;
};

} // namespace quorvel::model
