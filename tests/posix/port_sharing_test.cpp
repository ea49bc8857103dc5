// What Linux does when a local port is wanted twice, though every rule lets addresses be reused.
#include <gtest/gtest.h>

#include <string>

#include "tests/support/test_engine.h"
#include "tests/support/test_sockets.h"

namespace quillgate {
namespace {

using platform::Socket;
using platform::Transport;
using test::ruleFor;
using test::TestEngine;

// Sends datagrams to the port; whether all of them reach the target.
bool allReach(const Socket& target, std::uint16_t port) {
  const Socket client = test::udpOnLoopback();
  for (const std::string text : {"first", "second", "third"}) {
    if (!test::sendDatagramTo(client, port, text)) return false;
    const auto datagram = test::receiveNextDatagram(target);
    if (!datagram || datagram->text != text) return false;
  }
  return true;
}

class PortSharing : public testing::Test {
 protected:
  std::wstring listening(const std::wstring& protocol, const Socket& target) const {
    return protocol + L" Listening on local port " + local + L" -> 127.0.0.1:" +
           std::to_wstring(test::localPort(target));
  }

  TestEngine first;
  TestEngine second;
  const std::uint16_t port = test::freePortOfBothProtocols();
  const std::wstring local = std::to_wstring(port);
};

TEST_F(PortSharing, LetsOneOfTwoTcpRulesListen) {
  RuleSet rules;
  rules[0] = rules[1] = ruleFor(Protocol::tcp, port, 9);
  first.state().rules.replace(rules);
  first.state().server.start();
  EXPECT_TRUE(first.waitFor(L"[TCP] Listening on local port " + local + L" -> 127.0.0.1:9"));
  EXPECT_TRUE(first.waitFor(L"[TCP] Failed to bind/listen on local port " + local));
}

TEST_F(PortSharing, LetsTheFirstOfTwoProgramsListenOnATcpPort) {
  first.setRule(ruleFor(Protocol::tcp, port, 9));
  second.setRule(ruleFor(Protocol::tcp, port, 9));
  first.state().server.start();
  ASSERT_TRUE(first.waitFor(L"[TCP] Listening on local port " + local + L" -> 127.0.0.1:9"));
  second.state().server.start();
  EXPECT_TRUE(second.waitFor(L"[TCP] Failed to bind/listen on local port " + local));
}

TEST_F(PortSharing, LetsATcpRuleAndAUdpRuleListenOnOnePort) {
  const Socket target = test::udpOnLoopback();
  RuleSet rules;
  rules[0] = ruleFor(Protocol::tcp, port, test::localPort(target));
  rules[1] = ruleFor(Protocol::udp, port, test::localPort(target));
  first.state().rules.replace(rules);
  first.state().server.start();
  EXPECT_TRUE(first.waitFor(listening(L"[TCP]", target)));
  EXPECT_TRUE(first.waitFor(listening(L"[UDP]", target)));
  EXPECT_TRUE(allReach(target, port));
}

TEST_F(PortSharing, LetsTwoUdpRulesListenAndGivesEveryDatagramToOneOfThem) {
  const Socket targets[] = {test::udpOnLoopback(), test::udpOnLoopback()};
  RuleSet rules;
  rules[0] = ruleFor(Protocol::udp, port, test::localPort(targets[0]));
  rules[1] = ruleFor(Protocol::udp, port, test::localPort(targets[1]));
  first.state().rules.replace(rules);
  first.state().server.start();
  ASSERT_TRUE(first.waitFor(listening(L"[UDP]", targets[0])));
  ASSERT_TRUE(first.waitFor(listening(L"[UDP]", targets[1])));
  const Socket client = test::udpOnLoopback();
  ASSERT_TRUE(test::sendDatagramTo(client, port, "whose is it?"));
  ASSERT_TRUE(test::eventually(
      [&] { return !test::staysQuiet(targets[0], {}) || !test::staysQuiet(targets[1], {}); }));
  const std::size_t taker = test::staysQuiet(targets[0], {}) ? 1 : 0;
  static_cast<void>(test::receiveNextDatagram(targets[taker]));
  EXPECT_TRUE(allReach(targets[taker], port));
  EXPECT_TRUE(test::staysQuiet(targets[1 - taker]));
}

TEST_F(PortSharing, GivesTheDatagramsOfAPortToTheProgramThatCameLast) {
  const Socket firstTarget = test::udpOnLoopback();
  const Socket secondTarget = test::udpOnLoopback();
  first.setRule(ruleFor(Protocol::udp, port, test::localPort(firstTarget)));
  second.setRule(ruleFor(Protocol::udp, port, test::localPort(secondTarget)));
  first.state().server.start();
  ASSERT_TRUE(first.waitFor(listening(L"[UDP]", firstTarget)));
  second.state().server.start();
  ASSERT_TRUE(second.waitFor(listening(L"[UDP]", secondTarget)));
  EXPECT_TRUE(allReach(secondTarget, port));
  EXPECT_TRUE(test::staysQuiet(firstTarget));
  second.stop();
  EXPECT_TRUE(allReach(firstTarget, port));
}

TEST_F(PortSharing, LetsNoTcpRuleListenBesideAServiceOnOneAddress) {
  for (const bool reuses : {false, true}) {
    const Socket service = platform::openIpv4Socket(Transport::tcp);
    if (reuses) platform::allowAddressReuse(service);
    ASSERT_TRUE(test::bindTo(service, test::loopback(port)) && platform::startListening(service));
    first.setRule(ruleFor(Protocol::tcp, port, 9));
    first.state().server.start();
    EXPECT_TRUE(
        first.waitFor(L"[TCP] Failed to bind/listen on local port " + local, reuses ? 2 : 1));
    first.stop();
  }
}

TEST_F(PortSharing, LetsNoUdpRuleListenBesideAServiceOnOneAddressThatDoesNotShare) {
  const Socket service = platform::openIpv4Socket(Transport::udp);
  ASSERT_TRUE(test::bindTo(service, test::loopback(port)));
  first.setRule(ruleFor(Protocol::udp, port, 9));
  first.state().server.start();
  EXPECT_TRUE(first.waitFor(L"[UDP] Failed to bind on local port " + local));
}

TEST_F(PortSharing, LeavesAServiceOnOneAddressThatSharesWhatIsSentToThatAddress) {
  const Socket target = test::udpOnLoopback();
  const Socket service = platform::openIpv4Socket(Transport::udp);
  platform::allowAddressReuse(service);
  ASSERT_TRUE(test::bindTo(service, test::loopback(port)));
  first.setRule(ruleFor(Protocol::udp, port, test::localPort(target)));
  first.state().server.start();
  ASSERT_TRUE(first.waitFor(listening(L"[UDP]", target)));
  EXPECT_TRUE(allReach(service, port));
  EXPECT_TRUE(test::staysQuiet(target));
}

}  // namespace
}  // namespace quillgate
