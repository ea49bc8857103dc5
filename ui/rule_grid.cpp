#include "ui/rule_grid.h"

#include "core/text.h"

namespace quillgate {

std::wstring accessibleName(std::size_t rule, std::size_t field) {
  return L"Rule " + std::to_wstring(rule + 1) + L" " + kFieldNames[field];
}

RuleRow rowFrom(const ForwardRule& rule) {
  return {rule.enabled, rule.proto == Protocol::tcp ? Protocol::tcp : Protocol::udp,
          std::to_wstring(rule.localPort), rule.targetIp, std::to_wstring(rule.targetPort)};
}

ForwardRule ruleFrom(const RuleRow& row) {
  ForwardRule rule;
  rule.enabled = row.enabled;
  rule.proto = row.proto;
  rule.localPort = portFrom(row.localPort);
  if (const auto target = trimmed(row.targetIp); !target.empty()) rule.targetIp = target;
  rule.targetPort = portFrom(row.targetPort);
  return rule;
}

}  // namespace quillgate
