// How the rule editor shows a rule in the controls of one row, and what it makes of them when it
// reads them back. Pure; UI thread.
#pragma once

#include <cstddef>
#include <string>

#include "forwarding/forward_rule.h"

namespace quillgate {

// The content of one row. Its fields may hold any text.
struct RuleRow {
  bool enabled = false;
  Protocol proto = Protocol::tcp;
  std::wstring localPort{};
  std::wstring targetIp{};
  std::wstring targetPort{};

  bool operator==(const RuleRow&) const = default;
};

// The fields of a row from left to right.
inline constexpr const wchar_t* kFieldNames[] = {L"enabled", L"protocol", L"local port",
                                                 L"target IP", L"target port"};

// What a screen reader calls a field, by the indexes of its rule and in kFieldNames:
// "Rule 3 target IP".
[[nodiscard]] std::wstring accessibleName(std::size_t rule, std::size_t field);

// A protocol that is not TCP is shown as UDP.
[[nodiscard]] RuleRow rowFrom(const ForwardRule& rule);

// Nothing is rejected: any text becomes a port, and an empty target becomes "127.0.0.1".
[[nodiscard]] ForwardRule ruleFrom(const RuleRow& row);

}  // namespace quillgate
