#include "platform/Result.h"

#include <cstring>
#include <string.h>

namespace quorvel::platform {

std::string posixErrorName(int posixCode) {
    const char* const name = strerrorname_np(posixCode);
    return name != nullptr ? name : std::to_string(posixCode);
}

} // namespace quorvel::platform
