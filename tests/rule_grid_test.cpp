#include "ui/rule_grid.h"

#include <gtest/gtest.h>

#include <iterator>

namespace quillgate {
namespace {

std::uint16_t portFromRow(const std::wstring& text) {
  return ruleFrom({.localPort = text}).localPort;
}

std::wstring targetFromRow(const std::wstring& text) {
  return ruleFrom({.targetIp = text}).targetIp;
}

TEST(RuleGrid, ShowsPortsAsPlainDecimalNumbers) {
  const RuleRow row = rowFrom({true, Protocol::udp, 5353, L"10.0.0.7", 53});
  EXPECT_EQ(row, (RuleRow{true, Protocol::udp, L"5353", L"10.0.0.7", L"53"}));
}

TEST(RuleGrid, ShowsADefaultRuleWithZeroPorts) {
  EXPECT_EQ(rowFrom(ForwardRule{}), (RuleRow{false, Protocol::tcp, L"0", L"127.0.0.1", L"0"}));
}

TEST(RuleGrid, ShowsEveryProtocolButTcpAsUdp) {
  EXPECT_EQ(rowFrom({.proto = static_cast<Protocol>(7)}).proto, Protocol::udp);
}

TEST(RuleGrid, ReadsARowBackAsTheRuleItShows) {
  const ForwardRule rule{true, Protocol::udp, 65535, L"server.example", 1};
  EXPECT_EQ(ruleFrom(rowFrom(rule)), rule);
}

TEST(RuleGrid, TrimsAPortText) { EXPECT_EQ(portFromRow(L" \t8080\r\n "), 8080); }

TEST(RuleGrid, MovesAPortIntoItsRange) {
  EXPECT_EQ(portFromRow(L"65535"), 65535);
  EXPECT_EQ(portFromRow(L"65536"), 65535);
  EXPECT_EQ(portFromRow(L"70000"), 65535);
  EXPECT_EQ(portFromRow(L"99999999999999999999"), 65535);
  EXPECT_EQ(portFromRow(L"-1"), 0);
  EXPECT_EQ(portFromRow(L"-99999999999999999999"), 0);
}

TEST(RuleGrid, TakesTheDigitsAPortTextBeginsWith) {
  EXPECT_EQ(portFromRow(L"80x"), 80);
  EXPECT_EQ(portFromRow(L"+81"), 81);
  EXPECT_EQ(portFromRow(L"0082"), 82);
  EXPECT_EQ(portFromRow(L"8 3"), 8);
}

TEST(RuleGrid, ReadsATextWithoutDigitsAsPortZero) {
  EXPECT_EQ(portFromRow(L"x"), 0);
  EXPECT_EQ(portFromRow(L""), 0);
  EXPECT_EQ(portFromRow(L"x80"), 0);
}

TEST(RuleGrid, ReadsTheTargetPortLikeTheLocalPort) {
  EXPECT_EQ(ruleFrom({.targetPort = L" 70000 "}).targetPort, 65535);
  EXPECT_EQ(ruleFrom({.targetPort = L"443"}).targetPort, 443);
}

TEST(RuleGrid, TrimsATargetOfBlanksTabsAndLineBreaksOnly) {
  EXPECT_EQ(targetFromRow(L" \t\r\n10.0.0.1\n\r\t "), L"10.0.0.1");
  EXPECT_EQ(targetFromRow(L"\v10.0.0.1\u00a0"), L"\v10.0.0.1\u00a0");
  EXPECT_EQ(targetFromRow(L"two words"), L"two words");
}

TEST(RuleGrid, GivesAnEmptyTargetTheLocalHost) {
  EXPECT_EQ(targetFromRow(L""), L"127.0.0.1");
  EXPECT_EQ(targetFromRow(L" \t\r\n"), L"127.0.0.1");
}

TEST(RuleGrid, KeepsAnEnabledRuleWithoutPorts) {
  const ForwardRule rule = ruleFrom({.enabled = true, .localPort = L"", .targetPort = L""});
  EXPECT_TRUE(rule.enabled);
  EXPECT_EQ(rule.localPort, 0);
  EXPECT_EQ(rule.targetPort, 0);
}

TEST(RuleGrid, NamesEveryFieldForScreenReaders) {
  EXPECT_EQ(accessibleName(0, 0), L"Rule 1 enabled");
  EXPECT_EQ(accessibleName(1, 1), L"Rule 2 protocol");
  EXPECT_EQ(accessibleName(9, 2), L"Rule 10 local port");
  EXPECT_EQ(accessibleName(2, 3), L"Rule 3 target IP");
  EXPECT_EQ(accessibleName(4, 4), L"Rule 5 target port");
}

}  // namespace
}  // namespace quillgate
