// The installers of this build and the uninstallers that they leave: started, watched and used by
// their pages.
#pragma once

#include <windows.h>

#include <chrono>
#include <optional>
#include <string>

#include "tests/support/deadline.h"

namespace quillgate::test {

// The codes with which installers and uninstallers end.
inline constexpr int kDone = 0;
inline constexpr int kCancelled = 1;
inline constexpr int kFailed = 2;
inline constexpr int kProgramRuns = 3;
inline constexpr int kNewerIsInstalled = 4;

// The command line of an installer of this build, all with the same program: "older", "this" or
// "newer". Its version, and the title of the product in it.
[[nodiscard]] std::wstring setupOf(const std::wstring& release);
[[nodiscard]] std::wstring versionOf(const std::wstring& release);
[[nodiscard]] std::wstring titleOf(const std::wstring& release);

// A process that a test has started, or whose window it has found. Ended by force when the object
// goes.
class Process {
 public:
  explicit Process(std::wstring commandLine);
  explicit Process(HWND window);
  ~Process();
  Process(const Process&) = delete;
  Process& operator=(const Process&) = delete;

  // Waits for the end; nothing when it does not come before the deadline.
  [[nodiscard]] std::optional<int> waitForExit(
      std::chrono::milliseconds deadline = kDeadline) const;

 private:
  HANDLE handle_ = nullptr;
};

// Runs a command line to its end.
[[nodiscard]] std::optional<int> run(const std::wstring& commandLine);

// A shown dialog of any process with this title, which is a message box or is none; null when none
// comes.
enum class DialogKind { wizard, messageBox };
[[nodiscard]] HWND waitForSetupDialog(const std::wstring& title, DialogKind kind);

// What a message box says.
[[nodiscard]] std::wstring messageOf(HWND box);

// Waits until a dialog, or a page in it, shows this text.
[[nodiscard]] bool waitForText(HWND dialog, const std::wstring& text);

// Waits until a dialog, or a page in it, has a button with this caption that can be pressed; null
// when that does not happen. And pressing it; false when there is none.
[[nodiscard]] HWND waitForButton(HWND dialog, const std::wstring& caption);
[[nodiscard]] bool press(HWND dialog, const std::wstring& caption);

}  // namespace quillgate::test
