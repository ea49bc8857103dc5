#include <process.h>
#include <windows.h>

#include <climits>
#include <cstdint>

#include "platform/native_thread.h"

namespace quillgate::platform {
namespace {

unsigned __stdcall runThread(void* argument) noexcept {
  runNativeThread(argument);
  return 0;
}

}  // namespace

bool startNativeThread(std::size_t stackBytes, void* argument) noexcept {
  if (stackBytes > UINT_MAX) return false;
  const std::uintptr_t thread =
      ::_beginthreadex(nullptr, static_cast<unsigned>(stackBytes), &runThread, argument,
                       STACK_SIZE_PARAM_IS_A_RESERVATION, nullptr);
  if (thread == 0) return false;
  ::CloseHandle(reinterpret_cast<HANDLE>(thread));
  return true;
}

}  // namespace quillgate::platform
