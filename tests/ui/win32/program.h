// What tests for Windows alone need of the program: its windows by their classes, settings of the
// registry, and libraries in the place of the system's.
#pragma once

#include <windows.h>

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

#include "tests/support/temp_folder.h"
#include "tests/ui/program.h"

namespace quillgate::test {

struct NativeProcess {
  HANDLE handle;
  DWORD id;
};

// The top-level windows of a process with this class and this title; null stands for any.
[[nodiscard]] std::vector<HWND> topLevelWindows(DWORD processId, const wchar_t* className,
                                                const wchar_t* title);

// All top-level windows of the program with this class, and the first of them or null.
[[nodiscard]] std::vector<HWND> windowsOfClass(const Program& program,
                                               const std::wstring& className);
[[nodiscard]] HWND windowOfClass(const Program& program, const std::wstring& className);
// Waits until there is one that is shown; null after the deadline or the program's end.
[[nodiscard]] HWND waitForClass(const Program& program, const std::wstring& className);

// The handle of a control or a window; null for none. And the way back.
[[nodiscard]] HWND handleOf(const Control& control);
[[nodiscard]] Window windowOf(HWND window);

// The path of a library that stands in for one of the system's.
[[nodiscard]] std::wstring fakeLibrary(const std::wstring& name);

// A variable of this process's environment, and of the programs that it starts, that is as given
// while the object lives.
class EnvironmentSetting {
 public:
  EnvironmentSetting(std::wstring name, const std::wstring& value);
  ~EnvironmentSetting();
  EnvironmentSetting(const EnvironmentSetting&) = delete;
  EnvironmentSetting& operator=(const EnvironmentSetting&) = delete;

 private:
  std::wstring name_;
  std::optional<std::wstring> former_;
};

// A text value in the registry that is as given while the object lives. Under wine, where the
// registry is the tests' own; on Windows it would be the user's.
class RegistrySetting {
 public:
  RegistrySetting(HKEY root, const std::wstring& key, std::wstring name, const std::wstring& value);
  ~RegistrySetting();
  RegistrySetting(const RegistrySetting&) = delete;
  RegistrySetting& operator=(const RegistrySetting&) = delete;

 private:
  HKEY key_ = nullptr;
  std::wstring name_;
  std::vector<std::byte> former_;
  std::optional<DWORD> formerType_;  // nothing: there was no such value
};

// Names this folder, which makeDataFolder() has made, as the user's data folder to programs that
// are started while the object lives.
class DataFolderSetting {
 public:
  explicit DataFolderSetting(const std::wstring& folder);

 private:
  std::optional<RegistrySetting> registry_;
  std::optional<EnvironmentSetting> environment_;
};

// A copy of the program that finds one of our stand-ins in the place of ws2_32.dll. The program
// must have ended when the object goes. Under wine; elsewhere a test is skipped and says this:
inline constexpr const char* kNoStandIn =
    "Windows takes ws2_32.dll from its own folder: nothing can stand in for it";
class ProgramOnOtherSockets {
 public:
  explicit ProgramOnOtherSockets(const std::wstring& library);
  // What Launch::programFolder has to be.
  [[nodiscard]] std::wstring programFolder() const { return folder_.path(); }

 private:
  TempFolder folder_;
  RegistrySetting noOtherLibrary_;
};

}  // namespace quillgate::test
