#include "forwarding/forward_rule.h"

#include <gtest/gtest.h>

#include <iterator>
#include <thread>
#include <type_traits>
#include <utility>

namespace quillgate {
namespace {

TEST(ForwardRule, IsADisabledTcpRuleToThisMachineAtFirst) {
  const ForwardRule rule;
  EXPECT_FALSE(rule.enabled);
  EXPECT_EQ(rule.proto, Protocol::tcp);
  EXPECT_EQ(rule.localPort, 0);
  EXPECT_EQ(rule.targetIp, L"127.0.0.1");
  EXPECT_EQ(rule.targetPort, 0);
}

TEST(ForwardRule, HoldsTheProtocolInThirtyTwoBits) {
  static_assert(sizeof(Protocol) == 4 && std::is_unsigned_v<std::underlying_type_t<Protocol>>);
  EXPECT_EQ(static_cast<std::uint32_t>(Protocol::tcp), 0U);
  EXPECT_EQ(static_cast<std::uint32_t>(Protocol::udp), 1U);
}

TEST(ForwardRule, NamesTheProtocolsInTheirOrder) {
  ASSERT_EQ(std::size(kProtocolNames), 2U);
  EXPECT_STREQ(kProtocolNames[0], L"TCP");
  EXPECT_STREQ(kProtocolNames[1], L"UDP");
  EXPECT_STREQ(nameOf(Protocol::tcp), L"TCP");
  EXPECT_STREQ(nameOf(Protocol::udp), L"UDP");
  EXPECT_STREQ(nameOf(static_cast<Protocol>(7)), L"UDP");
}

TEST(ForwardRule, ShowsItsTargetAsItWasEntered) {
  EXPECT_EQ(targetText({}), L"127.0.0.1:0");
  EXPECT_EQ(targetText({.targetIp = L"Server.example", .targetPort = 65535}),
            L"Server.example:65535");
}

TEST(ForwardRule, CopiesEveryFieldDeeply) {
  const ForwardRule original{true, Protocol::udp, 53, L"a name long enough for the heap", 5353};
  ForwardRule copy = original;
  EXPECT_EQ(copy, original);
  copy.targetIp[0] = L'b';
  EXPECT_EQ(original.targetIp, L"a name long enough for the heap");
}

TEST(ForwardRule, LeavesTheTargetOfItsSourceEmptyWhenMoved) {
  for (const wchar_t* target : {L"short", L"a name long enough for the heap"}) {
    ForwardRule source{true, Protocol::udp, 53, target, 5353};
    const ForwardRule moved = std::move(source);
    EXPECT_EQ(moved, (ForwardRule{true, Protocol::udp, 53, target, 5353}));
    EXPECT_EQ(source.targetIp, L"");  // NOLINT(bugprone-use-after-move): what is asserted
    ForwardRule assigned;
    source.targetIp = target;
    assigned = std::move(source);
    EXPECT_EQ(assigned.targetIp, target);
    EXPECT_EQ(source.targetIp, L"");  // NOLINT(bugprone-use-after-move)
  }
}

TEST(ForwardRule, IsRunnableOnlyWhenEnabledWithBothPorts) {
  EXPECT_TRUE(isRunnable({true, Protocol::tcp, 1, L"h", 1}));
  EXPECT_TRUE(isRunnable({true, Protocol::udp, 1, L"", 1}));
  EXPECT_FALSE(isRunnable({false, Protocol::tcp, 1, L"h", 1}));
  EXPECT_FALSE(isRunnable({true, Protocol::tcp, 0, L"h", 1}));
  EXPECT_FALSE(isRunnable({true, Protocol::tcp, 1, L"h", 0}));
}

TEST(RuleTable, HoldsTenDefaultRulesAtFirst) {
  const RuleTable table;
  const RuleSet rules = table.snapshot();
  EXPECT_EQ(rules.size(), 10U);
  for (const ForwardRule& rule : rules) EXPECT_EQ(rule, ForwardRule{});
}

TEST(RuleTable, GivesBackWhatReplacedIt) {
  RuleTable table;
  RuleSet rules;
  for (std::size_t i = 0; i < rules.size(); ++i) {
    rules[i] = {true, Protocol::udp, static_cast<std::uint16_t>(i + 1), std::to_wstring(i), 9};
  }
  table.replace(rules);
  EXPECT_EQ(table.snapshot(), rules);
  rules[0].targetIp = L"changed outside";
  EXPECT_EQ(table.snapshot()[0].targetIp, L"0");
}

TEST(RuleTable, NeverShowsHalfOfAReplacement) {
  RuleTable table;
  const auto setOf = [](std::uint16_t value) {
    RuleSet rules;
    rules.fill({true, Protocol::tcp, value, std::to_wstring(value), value});
    return rules;
  };
  const RuleSet odd = setOf(11111);
  const RuleSet even = setOf(22222);
  table.replace(odd);
  std::jthread writer([&](const std::stop_token& ended) {
    while (!ended.stop_requested()) {
      table.replace(even);
      table.replace(odd);
    }
  });
  int halves = 0;
  for (int i = 0; i < 5000; ++i) {
    const RuleSet seen = table.snapshot();
    if (seen != odd && seen != even) ++halves;
  }
  EXPECT_EQ(halves, 0);
}

}  // namespace
}  // namespace quillgate
