#include <fcntl.h>
#include <signal.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>
#include <stdexcept>

#include "platform/posix/text.h"
#include "tests/support/deadline.h"
#include "tests/support/temp_folder.h"
#include "tests/ui/atspi/native.h"

namespace quillgate::test {
namespace {

// Becomes the program; between fork() and exec().
[[noreturn]] void becomeProgram(const Launch& launch, const std::string& executable) {
  prctl(PR_SET_PDEATHSIG, SIGKILL);
  setenv("XDG_DATA_HOME", platform::toBytes(launch.dataFolder).c_str(), 1);
  setenv("QT_LINUX_ACCESSIBILITY_ALWAYS_ON", "1", 1);
  for (const auto& [name, value] : launch.environment) setenv(name.c_str(), value.c_str(), 1);
  if (!launch.workingFolder.empty() &&
      chdir(platform::toBytes(launch.workingFolder).c_str()) != 0) {
    _exit(127);
  }
  if (!launch.outputFile.empty()) {
    const int output = open(platform::toBytes(launch.outputFile).c_str(),
                            O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0600);
    dup2(output, STDOUT_FILENO);
    dup2(output, STDERR_FILENO);
  }
  std::vector<std::string> arguments = {executable};
  for (const std::wstring& argument : launch.arguments) {
    arguments.push_back(platform::toBytes(argument));
  }
  std::vector<char*> pointers;
  for (std::string& argument : arguments) pointers.push_back(argument.data());
  pointers.push_back(nullptr);
  execv(executable.c_str(), pointers.data());
  _exit(127);
}

// Notes the end of the process if it has come. Under the lock.
void look(NativeProcess& process) {
  if (!process.hasEnded) {
    process.hasEnded = waitpid(process.id, &process.status, WNOHANG) == process.id;
  }
}

}  // namespace

std::wstring makeDataFolder(const std::wstring& folder) { return folder; }

Launch launchWithoutDataFolder(const std::wstring& workingFolder) {
  return {.dataFolder = L"", .workingFolder = workingFolder, .environment = {{"HOME", ""}}};
}

Program::Program(const Launch& launch) {
  const std::string executable = platform::toBytes(programFolder() + L"/quillgate");
  const pid_t child = fork();
  if (child == 0) becomeProgram(launch, executable);
  if (child < 0) throw std::runtime_error("cannot start " + executable);
  process_ = std::make_unique<NativeProcess>();
  process_->id = child;
  const bool up =
      !launch.hasWindow || eventually([this] { return mainWindow().isShown() || hasEnded(); });
  if (!up) throw std::runtime_error("quillgate does not come up");
}

Program::~Program() { kill(); }

bool Program::hasEnded() const {
  const std::lock_guard lock(process_->mutex);
  look(*process_);
  return process_->hasEnded;
}

void Program::kill() const {
  {
    const std::lock_guard lock(process_->mutex);
    look(*process_);
    if (!process_->hasEnded) ::kill(process_->id, SIGKILL);
  }
  static_cast<void>(waitForExit());
}

std::vector<Window> Program::windows(const std::wstring& title) const {
  return windowsOf(process_->id,
                   [&](x11::WindowId window) { return x11::titleOf(window) == title; });
}

std::optional<int> Program::waitForExit() const {
  if (!eventually([this] { return hasEnded(); })) return std::nullopt;
  const int status = process_->status;
  return WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
}

}  // namespace quillgate::test
