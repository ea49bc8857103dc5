// What the rule editor's buttons do, without a toolkit. UI thread.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "engine/shared_state.h"
#include "forwarding/forward_rule.h"
#include "ui/filter_list.h"

namespace quillgate {

// The controls of the open monitor window that depend on the rules.
class MonitorControls {
 public:
  virtual ~MonitorControls() = default;

  // Makes the filter list offer these entries and selects the one with this index.
  virtual void fillFilterList(const std::vector<FilterEntry>& entries, std::size_t selected) = 0;
  // The value of the selected entry; kFilterOff when none is selected.
  [[nodiscard]] virtual std::int32_t selectedFilter() const = 0;
  // Renders the chosen records anew.
  virtual void rebuildView() = 0;
};

// Everything that shows the rules.
class RuleViews {
 public:
  virtual ~RuleViews() = default;

  // Shows the rules of the table in the editor.
  virtual void fillRuleGrid() = 0;
  // Rewrites the status report where it is shown.
  virtual void refreshStatusPanel() = 0;
  // Null while there is no monitor window.
  [[nodiscard]] virtual MonitorControls* monitorControls() = 0;
};

// "Save": makes the rules live and writes them to config.xml. A running server is restarted with
// them, which waits for every worker; a stopped one stays stopped.
void saveRules(SharedState& state, const RuleSet& rules, RuleViews& views);

// "Import XML", after the dialog: the same with the rules of a file, which the editor then shows.
// False when the file cannot be loaded; nothing has changed then.
[[nodiscard]] bool importRules(SharedState& state, const std::wstring& path, RuleViews& views);

// "Export XML", after the dialog: writes the rules to a file and changes nothing else. False when
// that fails.
[[nodiscard]] bool exportRules(SharedState& state, const RuleSet& rules, const std::wstring& path);

}  // namespace quillgate
