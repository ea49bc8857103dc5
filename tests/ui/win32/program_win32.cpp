#include <array>
#include <filesystem>
#include <stdexcept>

#include "tests/support/deadline.h"
#include "tests/support/temp_folder.h"
#include "tests/support/wine.h"
#include "tests/ui/win32/program.h"

namespace quillgate::test {

namespace {

constexpr DWORD deadlineMilliseconds() {
  return static_cast<DWORD>(std::chrono::milliseconds(kDeadline).count());
}

// What a profile has at least: the system's dialogs complain where they miss the desktop.
void makeProfile(const std::wstring& folder) {
  for (const wchar_t* name : {L"Desktop", L"Documents", L"AppData\\Roaming"}) {
    std::filesystem::create_directories(folder + L"\\" + name);
  }
}

}  // namespace

std::wstring makeDataFolder(const std::wstring& folder) {
  makeProfile(folder);
  std::wstring dataFolder = folder + L"\\AppData\\Local";
  std::filesystem::create_directory(dataFolder);
  return dataFolder;
}

Launch launchWithoutDataFolder(const std::wstring& workingFolder) {
  makeProfile(workingFolder);
  return {.dataFolder = workingFolder + L"\\AppData\\Local", .workingFolder = workingFolder};
}

std::wstring fakeLibrary(const std::wstring& name) {
  return programFolder() + L"\\tests\\fakes\\" + name + L".dll";
}

EnvironmentSetting::EnvironmentSetting(std::wstring name, const std::wstring& value)
    : name_(std::move(name)) {
  std::array<wchar_t, 1024> former;
  const DWORD length = GetEnvironmentVariableW(name_.c_str(), former.data(), former.size());
  if (length > 0 && length < former.size()) former_ = former.data();
  SetEnvironmentVariableW(name_.c_str(), value.c_str());
}

EnvironmentSetting::~EnvironmentSetting() {
  SetEnvironmentVariableW(name_.c_str(), former_ ? former_->c_str() : nullptr);
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

// On Windows the folder lies below the profile that the environment names: the registry says
// "%USERPROFILE%\AppData\Local". Wine takes the profile from elsewhere, but the folder as the
// registry says.
DataFolderSetting::DataFolderSetting(const std::wstring& folder) {
  if (runsUnderWine()) {
    registry_.emplace(HKEY_CURRENT_USER,
                      L"Software\\Microsoft\\Windows\\CurrentVersion\\Explorer\\User Shell Folders",
                      L"Local AppData", folder);
  } else {
    const auto profile = std::filesystem::path(folder).parent_path().parent_path();
    environment_.emplace(L"USERPROFILE", profile.native());
  }
}

ProgramOnOtherSockets::ProgramOnOtherSockets(const std::wstring& library)
    : noOtherLibrary_(HKEY_CURRENT_USER,
                      L"Software\\Wine\\AppDefaults\\quillgate.exe\\DllOverrides", L"ws2_32",
                      L"native") {
  std::filesystem::copy(test::programFolder() + L"\\quillgate.exe", folder_.path());
  std::filesystem::copy(fakeLibrary(library), folder_.path() + L"\\ws2_32.dll");
}

Program::Program(const Launch& launch) {
  const std::wstring folder = launch.programFolder.empty() ? programFolder() : launch.programFolder;
  const std::wstring executable = folder + L"\\quillgate.exe";
  std::wstring commandLine = L"\"" + executable + L"\"";
  for (const std::wstring& argument : launch.arguments) commandLine += L" " + argument;
  const DataFolderSetting dataFolder(launch.dataFolder);  // until the program has come up

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
  if (mainWindow().isThere() && !mainWindow().isActive()) mainWindow().activate();
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
