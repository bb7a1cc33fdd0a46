#pragma once

#include "platform/files/OpenRoot.h"

#include <string>

namespace quorvel::platform {

/// The path with its first link that the kernel does not follow beneath the root (an absolute one,
/// or one that climbs above the root) replaced by the place beneath the root that the link's text
/// names. ENOENT if the text names a place outside, or if there is no such link. Touches nothing
/// outside; where a folder outside is a link back into the root is therefore not known.
Result<std::string> withLinkReplaced(const OpenRoot& root, const std::string& path);

} // namespace quorvel::platform
