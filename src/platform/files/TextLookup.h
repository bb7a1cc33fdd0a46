#pragma once

#include "platform/Result.h"
#include "platform/files/OpenRoot.h"

#include <string>
#include <string_view>
#include <system_error>

namespace quorvel::platform {

/// Whether a lookup that failed with the error may have been for the text of a name that is not
/// UTF-8: the path names nothing as it stands, and U+FFFD is in it.
bool mayBeText(const std::error_code& error, std::string_view path);

/// The path on disk of a path in which texts may stand for names. A component with U+FFFD that
/// names nothing beneath the root stands for the first name, in the order of bytes, whose text it
/// is. Reads a directory once for each such component; ENOENT if there is no such name.
Result<std::string> pathOnDisk(const OpenRoot& root, std::string path);

} // namespace quorvel::platform
