#include "tests/support/child_process.h"

#include <gtest/gtest.h>
#include <windows.h>

#include <array>
#include <cstring>
#include <utility>

namespace quillgate::test {
namespace {

constexpr const wchar_t* kTaskVariable = L"QUILLGATE_TEST_CHILD_TASK";
constexpr UINT kKilled = 99;
constexpr DWORD kMaxCharacters = 1024;

std::wstring widened(const char* ascii) { return {ascii, ascii + std::strlen(ascii)}; }

}  // namespace

std::optional<std::wstring> childTask() {
  std::array<wchar_t, kMaxCharacters> task;
  const DWORD length = ::GetEnvironmentVariableW(kTaskVariable, task.data(), kMaxCharacters);
  if (length == 0) return std::nullopt;
  return std::wstring(task.data(), length);
}

ChildProcess::ChildProcess(const std::wstring& task) {
  const auto* self = testing::UnitTest::GetInstance()->current_test_info();
  std::array<wchar_t, kMaxCharacters> program;
  EXPECT_NE(::GetModuleFileNameW(nullptr, program.data(), kMaxCharacters), 0U);
  std::wstring command = L"quillgate_tests --gtest_filter=" + widened(self->test_suite_name()) +
                         L"." + widened(self->name());
  STARTUPINFOW start{};
  start.cb = sizeof(start);
  start.dwFlags = STARTF_USESTDHANDLES;  // none: the child writes nowhere
  PROCESS_INFORMATION child{};
  ::SetEnvironmentVariableW(kTaskVariable, task.c_str());
  const BOOL started = ::CreateProcessW(program.data(), command.data(), nullptr, nullptr, FALSE, 0,
                                        nullptr, nullptr, &start, &child);
  ::SetEnvironmentVariableW(kTaskVariable, nullptr);
  EXPECT_NE(started, FALSE) << ::GetLastError();
  if (started == FALSE) return;
  ::CloseHandle(child.hThread);
  native_ = reinterpret_cast<std::uintptr_t>(child.hProcess);
}

void ChildProcess::kill() {
  if (native_ == 0) return;
  auto* const child = reinterpret_cast<HANDLE>(std::exchange(native_, std::uintptr_t{0}));
  EXPECT_NE(::TerminateProcess(child, kKilled), FALSE);
  ::WaitForSingleObject(child, INFINITE);
  DWORD code = 0;
  EXPECT_NE(::GetExitCodeProcess(child, &code), FALSE);
  EXPECT_EQ(code, kKilled) << "the child ended by itself";
  ::CloseHandle(child);
}

}  // namespace quillgate::test
