#include "tests/ui/program.h"

#include <algorithm>
#include <filesystem>

#include "core/app_paths.h"
#include "core/time_stamp.h"
#include "tests/support/deadline.h"
#include "tests/support/own_folder.h"
#include "tests/support/temp_folder.h"
#include "ui/main_view.h"

namespace quillgate::test {

std::wstring programFolder() {
  // This test program stands in the folder `tests` beside it.
  return wideTextOf(ownFolder().parent_path());
}

std::wstring utf16leText(const std::string& bytes) {
  std::wstring text;
  for (std::size_t i = 0; i + 1 < bytes.size(); i += 2) {
    text += static_cast<wchar_t>(static_cast<unsigned char>(bytes[i]) |
                                 static_cast<unsigned char>(bytes[i + 1]) << 8);
  }
  return text;
}

ProgramFiles::ProgramFiles(const std::wstring& dataFolder) {
  const AppPaths paths = appPathsUnder(dataFolder);
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
  std::filesystem::create_directories(pathOf(baseDir));
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

Window Program::mainWindow() const {
  const std::vector<Window> found = windows(kMainTitle);
  return found.empty() ? Window() : found.front();
}

Window Program::waitForWindow(const std::wstring& title) const {
  Window found;
  static_cast<void>(eventually([&] {
    const std::vector<Window> all = windows(title);
    if (!all.empty()) found = all.front();
    return found.isShown() || hasEnded();
  }));
  return found.isShown() ? found : Window();
}

std::optional<int> Program::close() const {
  mainWindow().close();
  return waitForExit();
}

}  // namespace quillgate::test
