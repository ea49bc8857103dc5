#include "platform/thread.h"

#include <process.h>
#include <windows.h>

#include <climits>
#include <system_error>

namespace quillgate::platform {
namespace {

HANDLE handleOf(std::uintptr_t native) { return reinterpret_cast<HANDLE>(native); }

unsigned __stdcall runThread(void* argument) noexcept {
  const std::unique_ptr<Thread::AnyBody> body(static_cast<Thread::AnyBody*>(argument));
  body->run();
  return 0;
}

}  // namespace

void Thread::start(std::size_t stackBytes, std::unique_ptr<AnyBody> body) {
  if (stackBytes <= UINT_MAX) {
    native_ = ::_beginthreadex(nullptr, static_cast<unsigned>(stackBytes), &runThread, body.get(),
                               STACK_SIZE_PARAM_IS_A_RESERVATION, nullptr);
  }
  if (native_ == 0) {
    throw std::system_error(std::make_error_code(std::errc::resource_unavailable_try_again));
  }
  static_cast<void>(body.release());  // the new thread owns it
}

void Thread::join() {
  if (!joinable()) throw std::system_error(std::make_error_code(std::errc::invalid_argument));
  if (::GetThreadId(handleOf(native_)) == ::GetCurrentThreadId()) {
    throw std::system_error(std::make_error_code(std::errc::resource_deadlock_would_occur));
  }
  if (::WaitForSingleObject(handleOf(native_), INFINITE) != WAIT_OBJECT_0) {
    throw std::system_error(static_cast<int>(::GetLastError()), std::system_category());
  }
  detach();
}

void Thread::detach() noexcept {
  if (joinable()) ::CloseHandle(handleOf(std::exchange(native_, std::uintptr_t{0})));
}

}  // namespace quillgate::platform
