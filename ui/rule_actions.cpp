#include "ui/rule_actions.h"

#include <algorithm>

#include "config/config_file.h"

namespace quillgate {
namespace {

// Keeps the choice if its entry still exists; otherwise switches monitoring off.
void refillFilterList(SharedState& state, MonitorControls& controls) {
  const std::vector<FilterEntry> entries = filterEntries(state.rules.snapshot());
  const auto kept = std::ranges::find(entries, state.monitor.filter(), &FilterEntry::value);
  const auto selected = kept == entries.end() ? 0 : kept - entries.begin();
  controls.fillFilterList(entries, static_cast<std::size_t>(selected));
  state.monitor.choose(controls.selectedFilter());
  controls.rebuildView();
}

void applyRules(SharedState& state, const RuleSet& rules, std::wstring_view message,
                RuleViews& views) {
  state.rules.replace(rules);
  saveConfig(state.log, rules, state.paths.configPath);
  if (state.server.isRunning()) {
    state.server.stop();
    state.server.start();
  }
  state.log.write(message);
  views.refreshStatusPanel();
  if (MonitorControls* controls = views.monitorControls()) refillFilterList(state, *controls);
}

}  // namespace

void saveRules(SharedState& state, const RuleSet& rules, RuleViews& views) {
  applyRules(state, rules, L"Config saved and applied.", views);
}

bool importRules(SharedState& state, const std::wstring& path, RuleViews& views) {
  RuleSet rules;
  if (!loadConfig(state.log, rules, path)) return false;
  state.rules.replace(rules);
  views.fillRuleGrid();
  applyRules(state, rules, L"Imported config and restarted server sockets.", views);
  state.log.write(L"Imported settings from: " + path);
  return true;
}

bool exportRules(SharedState& state, const RuleSet& rules, const std::wstring& path) {
  const bool saved = saveConfig(state.log, rules, path);
  state.log.write((saved ? L"Exported settings to: " : L"Export failed: ") + path);
  return saved;
}

}  // namespace quillgate
