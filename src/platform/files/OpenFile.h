#pragma once

#include "platform/Descriptor.h"
#include "platform/Result.h"

#include <cstddef>
#include <cstdint>
#include <span>

namespace quorvel::platform {

/// A regular file open for reading, closed with its last owner. Reads go by offset, so there is
/// no position to share or to fail.
class OpenFile {
  public:
    explicit OpenFile(Descriptor descriptor) : descriptor_(std::move(descriptor)) {}

    /// Reads at most the span's size from the offset (pread(2)); fewer bytes only at the end of
    /// the file, 0 there. May wait for the disk.
    Result<std::size_t> read(std::int64_t offset, std::span<char> into) const;

    int descriptor() const { return descriptor_.number(); }

  private:
    Descriptor descriptor_;
};

} // namespace quorvel::platform
