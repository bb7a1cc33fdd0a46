#include "platform/Descriptor.h"

#include <unistd.h>

namespace quorvel::platform {

void Descriptor::reset(int number) {
    // Not repeated on EINTR: Linux has released the number by then.
    if (number_ >= 0) close(number_);
    number_ = number;
}

} // namespace quorvel::platform
