#pragma once

#include "platform/Descriptor.h"
#include "platform/Result.h"

#include <cstddef>
#include <cstdint>
#include <span>

namespace quorvel::platform {

/// A regular file open for reading; its last owner closes it. Reads take an offset, so there is no
/// shared position.
class OpenFile {
  public:
    explicit OpenFile(Descriptor descriptor) : descriptor_(std::move(descriptor)) {}

    /// Fills the span from the offset (pread(2)) and returns the number of bytes read: fewer only
    /// at the end of the file. May block on the disk.
    Result<std::size_t> read(std::int64_t offset, std::span<char> into) const;

    int descriptor() const { return descriptor_.number(); }

  private:
    Descriptor descriptor_;
};

} // namespace quorvel::platform
