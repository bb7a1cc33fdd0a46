#pragma once

#include <utility>

namespace quorvel::platform {

/// Owns a file descriptor and closes it (close(2)). -1 means none.
class Descriptor {
  public:
    Descriptor() = default;
    explicit Descriptor(int number) : number_(number) {}
    Descriptor(Descriptor&& other) noexcept : number_(other.release()) {}
    Descriptor& operator=(Descriptor&& other) noexcept {
        if (this != &other) reset(other.release());
        return *this;
    }
    ~Descriptor() { reset(); }

    explicit operator bool() const { return number_ >= 0; }
    int number() const { return number_; }
    int release() { return std::exchange(number_, -1); }
    void reset(int number = -1);

  private:
    int number_ = -1;
};

} // namespace quorvel::platform
