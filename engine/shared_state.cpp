#include "engine/shared_state.h"

#include "config/config_file.h"
#include "platform/file.h"
#include "platform/system.h"

namespace quillgate {
namespace {

// Much more than any rule file has, and little enough for memory.
constexpr std::size_t kMaxSetAsideBytes = 64 * 1024 * 1024;

// A copy, and no new name for the file itself: so that there is a config.xml whenever the system
// stops, and while a save cannot replace it.
void setAside(const std::wstring& path) {
  if (const auto bytes = platform::readFile(path, kMaxSetAsideBytes)) {
    static_cast<void>(platform::replaceFile(path + L".bad", *bytes));
  }
}

}  // namespace

void prepareDataFolder(SharedState& state) {
  state.paths = appPathsUnder(platform::localAppDataFolder());
  platform::createFolders(state.paths.baseDir);
  state.log.setLogFilePath(state.paths.logPath);
}

void loadRules(SharedState& state) {
  RuleSet rules;
  if (!loadConfig(state.log, rules, state.paths.configPath)) setAside(state.paths.configPath);
  state.rules.replace(rules);
  saveConfig(state.log, rules, state.paths.configPath);
}

}  // namespace quillgate
