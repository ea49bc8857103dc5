#include <array>
#include <filesystem>
#include <stdexcept>

#include "tests/support/deadline.h"
#include "tests/support/temp_folder.h"
#include "tests/ui/win32/program.h"

namespace quillgate::test {

namespace {

constexpr DWORD deadlineMilliseconds() {
  return static_cast<DWORD>(std::chrono::milliseconds(kDeadline).count());
}

}  // namespace

std::wstring programFolder() {
  std::wstring path(MAX_PATH, L'\0');
  path.resize(GetModuleFileNameW(nullptr, path.data(), MAX_PATH));
  // This test program stands in the folder `tests` beside it.
  return std::filesystem::path(path).parent_path().parent_path().wstring();
}

std::wstring fakeLibrary(const std::wstring& name) {
  return programFolder() + L"\\tests\\fakes\\" + name + L".dll";
}

RegistrySetting::RegistrySetting(HKEY root, const std::wstring& key, std::wstring name,
                                 const std::wstring& value)
    : name_(std::move(name)), former_(4096) {
  // A key that this makes goes with the session, even if the test is ended by force.
  RegCreateKeyExW(root, key.c_str(), 0, nullptr, REG_OPTION_VOLATILE, KEY_ALL_ACCESS, nullptr,
                  &key_, nullptr);
  auto size = static_cast<DWORD>(former_.size());
  DWORD type = 0;
  if (RegQueryValueExW(key_, name_.c_str(), nullptr, &type, reinterpret_cast<BYTE*>(former_.data()),
                       &size) == ERROR_SUCCESS) {
    former_.resize(size);
    formerType_ = type;
  }
  const auto bytes = static_cast<DWORD>((value.size() + 1) * sizeof(wchar_t));
  if (RegSetValueExW(key_, name_.c_str(), 0, REG_SZ, reinterpret_cast<const BYTE*>(value.c_str()),
                     bytes) != ERROR_SUCCESS) {
    throw std::runtime_error("cannot change the registry");
  }
}

RegistrySetting::~RegistrySetting() {
  if (formerType_) {
    RegSetValueExW(key_, name_.c_str(), 0, *formerType_,
                   reinterpret_cast<const BYTE*>(former_.data()),
                   static_cast<DWORD>(former_.size()));
  } else {
    RegDeleteValueW(key_, name_.c_str());
  }
  RegCloseKey(key_);
}

ProgramOnOtherSockets::ProgramOnOtherSockets(const std::wstring& library)
    : noOtherLibrary_(HKEY_CURRENT_USER,
                      L"Software\\Wine\\AppDefaults\\quillgate.exe\\DllOverrides", L"ws2_32",
                      L"native") {
  std::filesystem::copy(test::programFolder() + L"\\quillgate.exe", folder_.path());
  std::filesystem::copy(fakeLibrary(library), folder_.path() + L"\\ws2_32.dll");
}

Launch launchWithoutDataFolder(const std::wstring& workingFolder) {
  return {.dataFolder = workingFolder + L"\\missing", .workingFolder = workingFolder};
}

Program::Program(const Launch& launch) {
  const std::wstring folder = launch.programFolder.empty() ? programFolder() : launch.programFolder;
  const std::wstring executable = folder + L"\\quillgate.exe";
  std::wstring commandLine = L"\"" + executable + L"\"";
  for (const std::wstring& argument : launch.arguments) commandLine += L" " + argument;
  // Other programs see this too, so it is so only until the program has come up.
  const RegistrySetting localAppData(
      HKEY_CURRENT_USER,
      L"Software\\Microsoft\\Windows\\CurrentVersion\\Explorer\\User Shell Folders",
      L"Local AppData", launch.dataFolder);

  std::wstring desktop = launch.desktop;
  STARTUPINFOW startup{};
  startup.cb = sizeof startup;
  if (!desktop.empty()) startup.lpDesktop = desktop.data();
  PROCESS_INFORMATION created{};
  if (!CreateProcessW(executable.c_str(), commandLine.data(), nullptr, nullptr, FALSE, 0, nullptr,
                      launch.workingFolder.empty() ? nullptr : launch.workingFolder.c_str(),
                      &startup, &created)) {
    throw std::runtime_error("cannot start quillgate.exe: error " + std::to_string(GetLastError()));
  }
  CloseHandle(created.hThread);
  process_ = std::make_unique<NativeProcess>(NativeProcess{created.hProcess, created.dwProcessId});
  const bool up = eventually([&] {
    return mainWindow().isThere() || windowOfClass(*this, L"#32770") != nullptr || hasEnded();
  });
  if (!up) throw std::runtime_error("quillgate.exe does not come up");
}

Program::~Program() {
  kill();
  CloseHandle(process_->handle);
}

bool Program::hasEnded() const { return WaitForSingleObject(process_->handle, 0) == WAIT_OBJECT_0; }

void Program::kill() const {
  TerminateProcess(process_->handle, 99);
  WaitForSingleObject(process_->handle, deadlineMilliseconds());
}

std::vector<Window> Program::windows(const std::wstring& title) const {
  std::vector<Window> found;
  for (const HWND window : topLevelWindows(process_->id, nullptr, title.c_str())) {
    if (IsWindowVisible(window)) found.push_back(windowOf(window));
  }
  return found;
}

std::optional<int> Program::waitForExit() const {
  DWORD code = 0;
  if (WaitForSingleObject(process_->handle, deadlineMilliseconds()) != WAIT_OBJECT_0) {
    return std::nullopt;
  }
  GetExitCodeProcess(process_->handle, &code);
  return static_cast<int>(code);
}

std::vector<HWND> topLevelWindows(DWORD processId, const wchar_t* className, const wchar_t* title) {
  std::vector<HWND> found;
  HWND window = nullptr;
  while ((window = FindWindowExW(nullptr, window, className, title)) != nullptr) {
    DWORD owner = 0;
    GetWindowThreadProcessId(window, &owner);
    if (owner == processId) found.push_back(window);
  }
  return found;
}

std::vector<HWND> windowsOfClass(const Program& program, const std::wstring& className) {
  return topLevelWindows(program.native().id, className.c_str(), nullptr);
}

HWND windowOfClass(const Program& program, const std::wstring& className) {
  const std::vector<HWND> found = windowsOfClass(program, className);
  return found.empty() ? nullptr : found.front();
}

HWND waitForClass(const Program& program, const std::wstring& className) {
  HWND found = nullptr;
  static_cast<void>(eventually([&] {
    found = windowOfClass(program, className);
    return IsWindowVisible(found) != 0 || program.hasEnded();
  }));
  return found;
}

}  // namespace quillgate::test
