#include "tests/installer/setup.h"

#include <array>
#include <functional>
#include <stdexcept>

#include "tests/ui/program.h"
#include "tests/ui/win32/controls.h"

namespace quillgate::test {
namespace {

constexpr int kMessageId = 0xFFFF;

// Looks for a control in a dialog and in the pages inside it.
HWND findInside(HWND dialog, const std::function<bool(HWND)>& isIt) {
  for (const HWND child : childrenOf(dialog)) {
    if (!IsWindowVisible(child)) continue;
    if (isIt(child)) return child;
    if (const HWND found = findInside(child, isIt)) return found;
  }
  return nullptr;
}

HWND findSetupDialog(const std::wstring& title, DialogKind kind) {
  HWND window = nullptr;
  while ((window = FindWindowExW(nullptr, window, L"#32770", nullptr)) != nullptr) {
    std::array<wchar_t, 256> found{};
    GetWindowTextW(window, found.data(), static_cast<int>(found.size()));
    const bool isBox = GetDlgItem(window, kMessageId) != nullptr;
    // Some pages end the title with a blank.
    if ((found.data() == title || found.data() == title + L" ") && IsWindowVisible(window) &&
        isBox == (kind == DialogKind::messageBox)) {
      return window;
    }
  }
  return nullptr;
}

// Waits until `find` finds something.
HWND waitFor(const std::function<HWND()>& find) {
  HWND found = nullptr;
  static_cast<void>(eventually([&] { return (found = find()) != nullptr; }));
  return found;
}

}  // namespace

std::wstring setupOf(const std::wstring& release) {
  return L"\"" + programFolder() + L"\\tests\\installer\\" + release + L".exe\"";
}

std::wstring versionOf(const std::wstring& release) {
  if (release == L"older") return QUILLGATE_OLDER_VERSION;
  return release == L"newer" ? QUILLGATE_NEWER_VERSION : QUILLGATE_THIS_VERSION;
}

std::wstring titleOf(const std::wstring& release) {
  const std::wstring version = versionOf(release);
  return L"Quillgate PRO v" + version.substr(0, version.rfind(L'.'));
}

Process::Process(std::wstring commandLine) {
  STARTUPINFOW startup{};
  startup.cb = sizeof startup;
  PROCESS_INFORMATION created{};
  if (!CreateProcessW(nullptr, commandLine.data(), nullptr, nullptr, FALSE, 0, nullptr, nullptr,
                      &startup, &created)) {
    throw std::runtime_error("cannot start a process: error " + std::to_string(GetLastError()));
  }
  CloseHandle(created.hThread);
  handle_ = created.hProcess;
}

Process::Process(HWND window) {
  DWORD id = 0;
  GetWindowThreadProcessId(window, &id);
  handle_ = OpenProcess(SYNCHRONIZE | PROCESS_QUERY_INFORMATION | PROCESS_TERMINATE, FALSE, id);
  if (handle_ == nullptr) throw std::runtime_error("no process has this window");
}

Process::~Process() {
  TerminateProcess(handle_, 99);
  WaitForSingleObject(handle_, INFINITE);
  CloseHandle(handle_);
}

std::optional<int> Process::waitForExit(std::chrono::milliseconds deadline) const {
  DWORD code = 0;
  if (WaitForSingleObject(handle_, static_cast<DWORD>(deadline.count())) != WAIT_OBJECT_0) {
    return std::nullopt;
  }
  GetExitCodeProcess(handle_, &code);
  return static_cast<int>(code);
}

std::optional<int> run(const std::wstring& commandLine) {
  return Process(commandLine).waitForExit();
}

HWND waitForSetupDialog(const std::wstring& title, DialogKind kind) {
  return waitFor([&] { return findSetupDialog(title, kind); });
}

std::wstring messageOf(HWND box) { return textOf(GetDlgItem(box, kMessageId)); }

bool waitForText(HWND dialog, const std::wstring& text) {
  return waitFor([&] {
           return findInside(dialog, [&](HWND control) { return textOf(control) == text; });
         }) != nullptr;
}

HWND waitForButton(HWND dialog, const std::wstring& caption) {
  return waitFor([&] {
    return findInside(dialog, [&](HWND control) {
      return classOf(control) == L"Button" && textOf(control) == caption &&
             IsWindowEnabled(control) != 0;
    });
  });
}

bool press(HWND dialog, const std::wstring& caption) {
  const HWND button = waitForButton(dialog, caption);
  return button != nullptr && PostMessageW(button, BM_CLICK, 0, 0) != 0;
}

}  // namespace quillgate::test
