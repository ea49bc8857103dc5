#include <pthread.h>
#include <unistd.h>

#include <algorithm>

#include "platform/native_thread.h"

namespace quillgate::platform {
namespace {

extern "C" void* runThread(void* argument) noexcept {
  runNativeThread(argument);
  return nullptr;
}

std::size_t wholePages(std::size_t bytes) {
  const auto page = static_cast<std::size_t>(::sysconf(_SC_PAGESIZE));
  return (bytes + page - 1) / page * page;
}

class ThreadAttributes {
 public:
  explicit ThreadAttributes(std::size_t stackBytes) {
    const auto smallest = static_cast<std::size_t>(PTHREAD_STACK_MIN);
    ready_ = ::pthread_attr_init(&native_) == 0;
    if (ready_) {
      ::pthread_attr_setstacksize(&native_, wholePages(std::max(stackBytes, smallest)));
      ::pthread_attr_setdetachstate(&native_, PTHREAD_CREATE_DETACHED);
    }
  }
  ThreadAttributes(const ThreadAttributes&) = delete;
  ThreadAttributes& operator=(const ThreadAttributes&) = delete;
  ~ThreadAttributes() {
    if (ready_) ::pthread_attr_destroy(&native_);
  }

  [[nodiscard]] bool ready() const { return ready_; }
  [[nodiscard]] const pthread_attr_t* get() const { return &native_; }

 private:
  pthread_attr_t native_;
  bool ready_ = false;
};

}  // namespace

bool startNativeThread(std::size_t stackBytes, void* argument) noexcept {
  const ThreadAttributes attributes(stackBytes);
  pthread_t thread;
  return attributes.ready() &&
         ::pthread_create(&thread, attributes.get(), &runThread, argument) == 0;
}

}  // namespace quillgate::platform
