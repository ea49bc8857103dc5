#include "ui/filter_list.h"

#include "monitor/traffic_monitor.h"

namespace quillgate {

namespace {

std::wstring entryText(std::size_t index, const ForwardRule& rule) {
  return std::to_wstring(index + 1) + L") " + nameOf(rule.proto) + L"  local " +
         std::to_wstring(rule.localPort) + L" -> " + targetText(rule);
}

}  // namespace

std::vector<FilterEntry> filterEntries(const RuleSet& rules) {
  std::vector<FilterEntry> entries{{L"monitoring off", kFilterOff}, {L"All", kFilterAll}};
  for (std::size_t i = 0; i < rules.size(); ++i) {
    if (rules[i].enabled) {
      entries.push_back({entryText(i, rules[i]), static_cast<std::int32_t>(i)});
    }
  }
  return entries;
}

}  // namespace quillgate
