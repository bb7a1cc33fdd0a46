#pragma once

namespace quorvel::ui {

/// Makes the icons available; to be called first. (A static library's resources are not by
/// themselves.)
void loadResources();

} // namespace quorvel::ui
