// Before the first test: whether there is a desktop to show windows on, and whether the program can
// be given a folder for its data, so that it leaves the user's own rules and log alone. Without
// them nothing is tested.
#include <gtest/gtest.h>
#include <windows.h>

#include <cstdlib>
#include <iostream>
#include <optional>
#include <string>
#include <vector>

#include "platform/system.h"
#include "tests/support/own_folder.h"
#include "tests/support/temp_folder.h"
#include "tests/ui/program.h"
#include "tests/ui/win32/program.h"

namespace quillgate::test {
namespace {

// What this program compares its data folder with when it is started to tell it.
constexpr const wchar_t* kExpectedVariable = L"QUILLGATE_EXPECTED_DATA_FOLDER";

// Whether windows of this process are shown to somebody: not so in a service, nor while the screen
// is locked.
bool hasDesktop() {
  USEROBJECTFLAGS flags{};
  const bool known = GetUserObjectInformationW(GetProcessWindowStation(), UOI_FLAGS, &flags,
                                               sizeof flags, nullptr) != 0;
  const HDESK input = OpenInputDesktop(0, FALSE, DESKTOP_READOBJECTS);
  if (input != nullptr) CloseDesktop(input);
  return known && (flags.dwFlags & WSF_VISIBLE) != 0 && input != nullptr;
}

std::optional<std::wstring> expectedDataFolder() {
  std::vector<wchar_t> folder(MAX_PATH);
  const DWORD length = GetEnvironmentVariableW(kExpectedVariable, folder.data(), MAX_PATH);
  if (length == 0) return std::nullopt;
  return std::wstring(folder.data(), length);
}

// Whether a program that is started with such a setting is told the folder by the system.
bool canSetDataFolder() {
  const TempFolder folder;
  const std::wstring dataFolder = makeDataFolder(folder.path());
  const DataFolderSetting setting(dataFolder);
  const EnvironmentSetting expected(kExpectedVariable, dataFolder);
  std::wstring program = (ownFolder() / "quillgate_ui_tests.exe").native();
  STARTUPINFOW startup{};
  startup.cb = sizeof startup;
  PROCESS_INFORMATION created{};
  if (!CreateProcessW(program.c_str(), nullptr, nullptr, nullptr, FALSE, 0, nullptr, nullptr,
                      &startup, &created)) {
    return false;
  }
  DWORD code = EXIT_FAILURE;
  WaitForSingleObject(created.hProcess, INFINITE);
  GetExitCodeProcess(created.hProcess, &code);
  CloseHandle(created.hThread);
  CloseHandle(created.hProcess);
  return code == EXIT_SUCCESS;
}

// Instead of a failure, which would leave hundreds of tests skipped.
[[noreturn]] void endWith(const char* reason) {
  std::cout << "[  REASON  ] Nothing was tested: " << reason << std::endl;
  std::_Exit(EXIT_FAILURE);
}

class DesktopCheck final : public testing::Environment {
 public:
  void SetUp() override {
    if (const auto expected = expectedDataFolder()) {
      std::_Exit(platform::localAppDataFolder() == *expected ? EXIT_SUCCESS : EXIT_FAILURE);
    }
    if (!hasDesktop()) endWith("there is no desktop, or the screen is locked");
    if (!canSetDataFolder())
      endWith("a program cannot be given another data folder than the user's");
  }
};

[[maybe_unused]] testing::Environment* const kDesktopCheck =
    testing::AddGlobalTestEnvironment(new DesktopCheck);

}  // namespace
}  // namespace quillgate::test
