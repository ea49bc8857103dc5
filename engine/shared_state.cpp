#include "engine/shared_state.h"

#include "config/config_file.h"
#include "platform/system.h"

namespace quillgate {

void prepareDataFolder(SharedState& state) {
  state.paths = appPathsUnder(platform::localAppDataFolder());
  platform::createFolders(state.paths.baseDir);
  state.log.setLogFilePath(state.paths.logPath);
}

void loadRules(SharedState& state) {
  RuleSet rules;
  static_cast<void>(loadConfig(state.log, rules, state.paths.configPath));
  state.rules.replace(rules);
  saveConfig(state.log, rules, state.paths.configPath);
}

}  // namespace quillgate
