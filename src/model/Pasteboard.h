#pragma once

#include <string>

namespace quorvel::model {

/// The system's clipboard. Supplied by the desktop; main thread.
class Pasteboard {
  public:
    virtual ~Pasteboard() = default;

    /// Clears the contents, then holds this plain text (UTF-8) and nothing else.
    virtual void setText(const std::string& text) = 0;
};

} // namespace quorvel::model
