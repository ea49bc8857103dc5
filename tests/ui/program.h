// The built program as a test drives it: started in a process of its own with a private folder for
// its data, watched and used through its windows, its files and its exit code.
#pragma once

#include <windows.h>

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "forwarding/forward_rule.h"
#include "tests/support/temp_folder.h"

namespace quillgate::test {

// The folder that holds the program under test, without a separator at its end.
[[nodiscard]] std::wstring programFolder();

// The path of a library that stands in for one of the system's.
[[nodiscard]] std::wstring fakeLibrary(const std::wstring& name);

// The text in these bytes, which are UTF-16LE.
[[nodiscard]] std::wstring utf16leText(const std::string& bytes);

// The program's files below a folder for local application data.
struct ProgramFiles {
  explicit ProgramFiles(const std::wstring& localAppData);

  std::wstring baseDir;
  std::wstring configPath;
  std::wstring logPath;

  // The log's lines, and the same without their time stamps; empty when there is no log.
  [[nodiscard]] std::vector<std::wstring> logLines() const;
  [[nodiscard]] std::vector<std::wstring> logMessages() const;
  [[nodiscard]] std::size_t countInLog(const std::wstring& message) const;
  // Waits until `message` has been logged `times` times.
  [[nodiscard]] bool waitForLog(const std::wstring& message, std::size_t times = 1) const;

  // Makes this the content of config.xml, for the next start of the program.
  void writeConfig(std::string_view xml) const;
};

// The bytes of a rule file in the program's own form.
[[nodiscard]] std::string configBytes(const RuleSet& rules);

// A text value in the registry that is as given while the object lives.
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

// A copy of the program that finds one of our stand-ins in the place of ws2_32.dll. The program
// must have ended when the object goes.
class ProgramOnOtherSockets {
 public:
  explicit ProgramOnOtherSockets(const std::wstring& library);
  // What Launch::programFolder has to be.
  [[nodiscard]] std::wstring programFolder() const { return folder_.path(); }

 private:
  TempFolder folder_;
  RegistrySetting noOtherLibrary_;
};

struct Launch {
  std::wstring localAppData;     // what the system shall name as the user's data folder
  std::wstring programFolder{};  // where quillgate.exe is; empty: where it was built
  std::wstring workingFolder{};  // empty: ours
  std::wstring arguments{};      // behind the program's name on the command line
  std::wstring desktop{};        // empty: ours
};

class Program {
 public:
  // Starts the program and waits until it shows its main window or a message box, or has ended.
  explicit Program(const Launch& launch);
  // Ends the process by force if it still runs.
  ~Program();
  Program(const Program&) = delete;
  Program& operator=(const Program&) = delete;

  [[nodiscard]] HWND mainWindow() const { return window(L"QuillgateMainWnd"); }

  // All top-level windows of the process with this class, and the first of them or null.
  [[nodiscard]] std::vector<HWND> windows(const std::wstring& className) const;
  [[nodiscard]] HWND window(const std::wstring& className) const;
  // Waits until there is one that is shown; null after the deadline or the program's end.
  [[nodiscard]] HWND waitForWindow(const std::wstring& className) const;

  // Waits for the end; nothing when it does not come before the deadline.
  [[nodiscard]] std::optional<DWORD> waitForExit() const;
  // Asks the main window to close and waits for the end.
  [[nodiscard]] std::optional<DWORD> close() const;
  // Ends the process by force.
  void kill() const;

 private:
  [[nodiscard]] bool hasEnded() const { return WaitForSingleObject(process_, 0) == WAIT_OBJECT_0; }

  HANDLE process_ = nullptr;
  DWORD processId_ = 0;
};

}  // namespace quillgate::test
