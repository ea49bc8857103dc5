#include "tests/ui/program.h"

#include <algorithm>
#include <array>
#include <filesystem>
#include <memory>
#include <stdexcept>

#include "core/app_paths.h"
#include "core/time_stamp.h"
#include "tests/support/deadline.h"
#include "tests/support/temp_folder.h"

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

std::wstring utf16leText(const std::string& bytes) {
  std::wstring text;
  for (std::size_t i = 0; i + 1 < bytes.size(); i += 2) {
    text += static_cast<wchar_t>(static_cast<unsigned char>(bytes[i]) |
                                 static_cast<unsigned char>(bytes[i + 1]) << 8);
  }
  return text;
}

ProgramFiles::ProgramFiles(const std::wstring& localAppData) {
  const AppPaths paths = appPathsUnder(localAppData);
  baseDir = paths.baseDir;
  configPath = paths.configPath;
  logPath = paths.logPath;
}

std::vector<std::wstring> ProgramFiles::logLines() const {
  const std::wstring text = utf16leText(contentOf(logPath).value_or(""));
  std::vector<std::wstring> lines;
  std::size_t start = 0;
  for (std::size_t end; (end = text.find(L"\r\n", start)) != std::wstring::npos; start = end + 2) {
    lines.push_back(text.substr(start, end - start));
  }
  return lines;
}

std::vector<std::wstring> ProgramFiles::logMessages() const {
  std::vector<std::wstring> messages = logLines();
  for (std::wstring& message : messages) message.erase(0, kTimeStampLength);
  return messages;
}

std::size_t ProgramFiles::countInLog(const std::wstring& message) const {
  return static_cast<std::size_t>(std::ranges::count(logMessages(), message));
}

bool ProgramFiles::waitForLog(const std::wstring& message, std::size_t times) const {
  return eventually([&] { return countInLog(message) >= times; });
}

void ProgramFiles::writeConfig(std::string_view xml) const {
  std::filesystem::create_directories(baseDir);
  writeFile(configPath, xml);
}

std::string configBytes(const RuleSet& rules) {
  std::string xml = "<config><rules>";
  for (std::size_t i = 0; i < rules.size(); ++i) {
    const ForwardRule& rule = rules[i];
    xml += "<rule id=\"" + std::to_string(i + 1) + "\"><enabled>" + (rule.enabled ? "1" : "0") +
           "</enabled><proto>" + (rule.proto == Protocol::tcp ? "tcp" : "udp") +
           "</proto><localPort>" + std::to_string(rule.localPort) + "</localPort><targetIp>" +
           std::string(rule.targetIp.begin(), rule.targetIp.end()) + "</targetIp><targetPort>" +
           std::to_string(rule.targetPort) + "</targetPort></rule>";
  }
  return xml + "</rules></config>\n";
}

Program::Program(const Launch& launch) {
  const std::wstring folder = launch.programFolder.empty() ? programFolder() : launch.programFolder;
  const std::wstring executable = folder + L"\\quillgate.exe";
  std::wstring commandLine = L"\"" + executable + L"\" " + launch.arguments;
  // Other programs see this too, so it is so only until the program has come up.
  const RegistrySetting localAppData(
      HKEY_CURRENT_USER,
      L"Software\\Microsoft\\Windows\\CurrentVersion\\Explorer\\User Shell Folders",
      L"Local AppData", launch.localAppData);

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
  process_ = created.hProcess;
  processId_ = created.dwProcessId;
  const bool up = eventually(
      [&] { return IsWindowVisible(mainWindow()) || window(L"#32770") != nullptr || hasEnded(); });
  if (!up) throw std::runtime_error("quillgate.exe does not come up");
}

Program::~Program() {
  kill();
  CloseHandle(process_);
}

void Program::kill() const {
  TerminateProcess(process_, 99);
  WaitForSingleObject(process_, deadlineMilliseconds());
}

std::vector<HWND> Program::windows(const std::wstring& className) const {
  std::vector<HWND> found;
  HWND window = nullptr;
  while ((window = FindWindowExW(nullptr, window, className.c_str(), nullptr)) != nullptr) {
    DWORD owner = 0;
    GetWindowThreadProcessId(window, &owner);
    if (owner == processId_) found.push_back(window);
  }
  return found;
}

HWND Program::window(const std::wstring& className) const {
  const std::vector<HWND> found = windows(className);
  return found.empty() ? nullptr : found.front();
}

HWND Program::waitForWindow(const std::wstring& className) const {
  HWND found = nullptr;
  static_cast<void>(eventually([&] {
    found = window(className);
    return IsWindowVisible(found) != 0 || hasEnded();
  }));
  return found;
}

std::optional<DWORD> Program::waitForExit() const {
  DWORD code = 0;
  if (WaitForSingleObject(process_, deadlineMilliseconds()) != WAIT_OBJECT_0) return std::nullopt;
  GetExitCodeProcess(process_, &code);
  return code;
}

std::optional<DWORD> Program::close() const {
  PostMessageW(mainWindow(), WM_CLOSE, 0, 0);
  return waitForExit();
}

}  // namespace quillgate::test
