// An open descriptor that closes itself.
#pragma once

#include <unistd.h>

#include <utility>

namespace tollmere {

// Owns a descriptor, or none: then Get is -1.
class Descriptor {
 public:
  Descriptor() noexcept = default;
  explicit Descriptor(int descriptor) noexcept : descriptor_(descriptor) {}
  Descriptor(Descriptor&& other) noexcept : descriptor_(std::exchange(other.descriptor_, -1)) {}
  Descriptor& operator=(Descriptor&& other) noexcept {
    std::swap(descriptor_, other.descriptor_);
    return *this;
  }
  ~Descriptor() { Close(); }

  int Get() const noexcept { return descriptor_; }
  bool IsOpen() const noexcept { return descriptor_ >= 0; }
  void Close() noexcept {
    if (IsOpen()) {
      close(std::exchange(descriptor_, -1));
    }
  }

 private:
  int descriptor_ = -1;
};

}  // namespace tollmere
