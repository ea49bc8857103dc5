// The built program as a test drives it: started in a process of its own with a private folder for
// its data, watched and used through its windows, its files and its exit code.
#pragma once

#include <cstddef>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "forwarding/forward_rule.h"
#include "tests/ui/driver.h"

namespace quillgate::test {

// The folder that holds the program under test, without a separator at its end.
[[nodiscard]] std::wstring programFolder();

// The text in these bytes, which are UTF-16LE.
[[nodiscard]] std::wstring utf16leText(const std::string& bytes);

// The program's files below a user's data folder.
struct ProgramFiles {
  explicit ProgramFiles(const std::wstring& dataFolder);

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

struct Launch {
  std::wstring dataFolder;       // what the system names as the user's data folder
  std::wstring workingFolder{};  // empty: ours
  std::vector<std::wstring> arguments{};
  std::map<std::string, std::string> environment{};  // added to ours; Linux
  bool hasWindow = true;                             // false: started is enough; Linux
  std::wstring outputFile{};                         // takes what it prints; empty: ours; Linux
  std::wstring programFolder{};  // where the program is; empty: where it was built; Windows
  std::wstring desktop{};        // empty: ours; Windows
};

// Makes, in a folder that is empty, one that a system can name as the user's data folder.
[[nodiscard]] std::wstring makeDataFolder(const std::wstring& folder);

// A start on a system that names no data folder for the user, in this folder.
[[nodiscard]] Launch launchWithoutDataFolder(const std::wstring& workingFolder);

// What a system knows a process by.
struct NativeProcess;

class Program {
 public:
  // Starts the program and waits until it shows its main window or a message box, or has ended.
  explicit Program(const Launch& launch);
  // Ends the process by force if it still runs.
  ~Program();
  Program(const Program&) = delete;
  Program& operator=(const Program&) = delete;

  [[nodiscard]] const NativeProcess& native() const { return *process_; }

  // None when it has none.
  [[nodiscard]] Window mainWindow() const;
  // Its windows with this title that are shown or minimised.
  [[nodiscard]] std::vector<Window> windows(const std::wstring& title) const;
  // Waits until there is one that is shown; none after the deadline or the program's end.
  [[nodiscard]] Window waitForWindow(const std::wstring& title) const;

  [[nodiscard]] bool hasEnded() const;
  // Waits for the end; nothing when it does not come before the deadline. The exit code; where a
  // signal has ended the program, 128 more than its number.
  [[nodiscard]] std::optional<int> waitForExit() const;
  // Asks the main window to close and waits for the end.
  [[nodiscard]] std::optional<int> close() const;
  // Ends the process by force. Any thread.
  void kill() const;

 private:
  std::unique_ptr<NativeProcess> process_;
};

}  // namespace quillgate::test
