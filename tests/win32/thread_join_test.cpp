// A join that Windows refuses. No limit and no right of the system makes it, so the test takes the
// thread's handle away.
#include <gtest/gtest.h>
#include <windows.h>

#include <atomic>
#include <system_error>

#include "platform/thread.h"
#include "tests/support/deadline.h"

namespace quillgate::platform {
namespace {

// The one handle of this process that names the thread; null when there is none.
HANDLE handleOfThread(DWORD id) {
  constexpr std::uintptr_t kHandleStep = 4;
  constexpr std::uintptr_t kMaxHandle = 0x100000;
  for (std::uintptr_t value = kHandleStep; value < kMaxHandle; value += kHandleStep) {
    const auto handle = reinterpret_cast<HANDLE>(value);
    if (::GetThreadId(handle) == id) return handle;
  }
  return nullptr;
}

TEST(Win32Thread, ThrowsWhenTheSystemRefusesAJoin) {
  std::atomic<DWORD> id{0};
  std::atomic<bool> over{false};
  // Waits without a handle: a new one could take the place of the one that is closed.
  Thread thread(kWorkerStackBytes, [&] {
    id = ::GetCurrentThreadId();
    while (!over) ::Sleep(1);
  });
  ASSERT_TRUE(test::eventually([&] { return id != 0; }));
  const HANDLE handle = handleOfThread(id);
  HANDLE kept = nullptr;
  ASSERT_TRUE(::DuplicateHandle(::GetCurrentProcess(), handle, ::GetCurrentProcess(), &kept,
                                SYNCHRONIZE, FALSE, 0));
  ASSERT_TRUE(::CloseHandle(handle));

  std::error_code thrown;
  try {
    thread.join();
  } catch (const std::system_error& error) {
    thrown = error.code();
  }
  EXPECT_EQ(thrown, std::error_code(ERROR_INVALID_HANDLE, std::system_category()));
  EXPECT_TRUE(thread.joinable());
  thread.detach();
  over = true;
  EXPECT_EQ(::WaitForSingleObject(kept, INFINITE), WAIT_OBJECT_0);
  ::CloseHandle(kept);
}

}  // namespace
}  // namespace quillgate::platform
