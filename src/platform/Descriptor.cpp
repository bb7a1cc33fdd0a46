#include "platform/Descriptor.h"

#include <unistd.h>

namespace quorvel::platform {

void Descriptor::reset(int number) {
    // Linux has released the number even when close reports EINTR, so it is never repeated.
    if (number_ >= 0) close(number_);
    number_ = number;
}

} // namespace quorvel::platform
