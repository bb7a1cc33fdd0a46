#pragma once

namespace quorvel::ui {

/// Registers the icons, which a static library does not do by itself. Must be called before any of
/// them is used.
void loadResources();

} // namespace quorvel::ui
