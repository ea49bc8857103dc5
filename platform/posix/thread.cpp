#include "platform/thread.h"

#include <pthread.h>
#include <unistd.h>

#include <algorithm>
#include <system_error>

namespace quillgate::platform {
namespace {

static_assert(sizeof(pthread_t) == sizeof(std::uintptr_t));

extern "C" void* runThread(void* argument) noexcept {
  const std::unique_ptr<Thread::AnyBody> body(static_cast<Thread::AnyBody*>(argument));
  body->run();
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
    }
  }
  ThreadAttributes(const ThreadAttributes&) = delete;
  ThreadAttributes& operator=(const ThreadAttributes&) = delete;
  ~ThreadAttributes() {
    if (ready_) ::pthread_attr_destroy(&native_);
  }

  [[nodiscard]] const pthread_attr_t* get() const { return ready_ ? &native_ : nullptr; }

 private:
  pthread_attr_t native_;
  bool ready_ = false;
};

}  // namespace

void Thread::start(std::size_t stackBytes, std::unique_ptr<AnyBody> body) {
  const ThreadAttributes attributes(stackBytes);
  pthread_t thread;
  if (::pthread_create(&thread, attributes.get(), &runThread, body.get()) != 0) {
    throw std::system_error(std::make_error_code(std::errc::resource_unavailable_try_again));
  }
  static_cast<void>(body.release());  // the new thread owns it
  native_ = thread;
}

void Thread::join() {
  if (!joinable()) throw std::system_error(std::make_error_code(std::errc::invalid_argument));
  if (::pthread_equal(native_, ::pthread_self()) != 0) {
    throw std::system_error(std::make_error_code(std::errc::resource_deadlock_would_occur));
  }
  if (const int error = ::pthread_join(native_, nullptr); error != 0) {
    throw std::system_error(error, std::generic_category());
  }
  native_ = 0;
}

void Thread::detach() noexcept {
  if (joinable()) ::pthread_detach(std::exchange(native_, std::uintptr_t{0}));
}

}  // namespace quillgate::platform
