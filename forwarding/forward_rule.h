// The ten forwarding rules and the table that holds them.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <mutex>
#include <string>

#include "core/text.h"

namespace quillgate {

// How a rule forwards. Any value but tcp is forwarded as UDP.
enum class Protocol : std::uint32_t { tcp = 0, udp = 1 };

// The protocols as people see them, in the order of Protocol.
inline constexpr const wchar_t* kProtocolNames[] = {L"TCP", L"UDP"};

[[nodiscard]] constexpr const wchar_t* nameOf(Protocol protocol) {
  return kProtocolNames[protocol == Protocol::tcp ? 0 : 1];
}

// One rule: a local port that is relayed to a target. Known by its index 0..9 in the RuleSet and
// shown to people as that index plus one.
struct ForwardRule {
  bool enabled = false;
  Protocol proto = Protocol::tcp;
  std::uint16_t localPort = 0;           // on all local IPv4 addresses; 0: not set
  std::wstring targetIp = L"127.0.0.1";  // a numeric address or, for TCP, a host name
  std::uint16_t targetPort = 0;          // 0: not set

  bool operator==(const ForwardRule&) const = default;
};

inline constexpr std::size_t kRuleCount = 10;
using RuleSet = std::array<ForwardRule, kRuleCount>;

// Whether the server gives the rule a worker: it is enabled and both ports are set.
[[nodiscard]] inline bool isRunnable(const ForwardRule& rule) {
  return rule.enabled && rule.localPort != 0 && rule.targetPort != 0;
}

// Where the rule leads, as people see it: "192.0.2.1:80", the host as it was entered.
[[nodiscard]] inline std::wstring targetText(const ForwardRule& rule) {
  return joined({rule.targetIp, L":", decimalText(rule.targetPort)});
}

// The live rules. Any thread may call; the lock is held only while the ten rules are copied.
class RuleTable {
 public:
  [[nodiscard]] RuleSet snapshot() const;
  void replace(const RuleSet& rules);

 private:
  mutable std::mutex mutex_;
  RuleSet rules_;
};

}  // namespace quillgate
