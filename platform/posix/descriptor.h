// File descriptors: one owner, and calls that a signal may interrupt.
#pragma once

#include <unistd.h>

#include <cerrno>
#include <utility>

namespace quillgate::platform {

// Owns one file descriptor and closes it.
class Descriptor {
 public:
  Descriptor() noexcept = default;
  explicit Descriptor(int number) noexcept : number_(number) {}
  Descriptor(Descriptor&& other) noexcept : number_(std::exchange(other.number_, -1)) {}
  Descriptor& operator=(Descriptor&&) = delete;
  ~Descriptor() {
    if (*this) ::close(number_);
  }

  explicit operator bool() const noexcept { return number_ >= 0; }
  [[nodiscard]] int number() const noexcept { return number_; }

 private:
  int number_ = -1;
};

// Makes the call again as long as a signal interrupts it before it has done anything.
template <typename Call>
auto untilNotInterrupted(Call call) {
  auto result = call();
  while (result < 0 && errno == EINTR) result = call();
  return result;
}

}  // namespace quillgate::platform
