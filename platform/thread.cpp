// What a Thread is on every system; each system's source starts, joins and detaches it.
#include "platform/thread.h"

#include <exception>

namespace quillgate::platform {

Thread& Thread::operator=(Thread&& other) noexcept {
  if (joinable()) std::terminate();
  native_ = std::exchange(other.native_, std::uintptr_t{0});
  return *this;
}

Thread::~Thread() {
  if (joinable()) std::terminate();
}

}  // namespace quillgate::platform
