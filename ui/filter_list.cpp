#include "ui/filter_list.h"

#include "monitor/traffic_monitor.h"

namespace quillgate {

namespace {

std::wstring entryText(std::size_t index, const ForwardRule& rule) {
  return std::to_wstring(index + 1) + L") " + (rule.proto == Protocol::tcp ? L"TCP" : L"UDP") +
         L"  local " + std::to_wstring(rule.localPort) + L" -> " + rule.targetIp + L":" +
         std::to_wstring(rule.targetPort);
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
