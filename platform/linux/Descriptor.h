// A file descriptor that closes itself.
#pragma once

#include <unistd.h>

#include <utility>

namespace platform::native {

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
  int get() const { return number_; }
  int release() { return std::exchange(number_, -1); }
  void reset(int number = -1) {
    if (number_ >= 0) ::close(number_);
    number_ = number;
  }

 private:
  int number_ = -1;
};

}  // namespace platform::native
