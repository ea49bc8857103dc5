// What the monitor window's filter list offers. UI thread.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "forwarding/forward_rule.h"

namespace quillgate {

struct FilterEntry {
  std::wstring text;
  std::int32_t value;  // the filter it stands for: kFilterOff, kFilterAll or a rule index

  bool operator==(const FilterEntry&) const = default;
};

// "monitoring off", "All", and one entry for each enabled rule in the order of the table.
[[nodiscard]] std::vector<FilterEntry> filterEntries(const RuleSet& rules);

}  // namespace quillgate
