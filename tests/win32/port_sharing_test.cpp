// What Windows does when a local port is wanted twice, though every rule lets addresses be reused.
//
// What is expected, and has not been seen on Windows yet: a socket with the option can be bound to
// any port that nobody holds exclusively, and it is undefined which socket then gets what. Wine
// asks the system it runs on, where a TCP port has one listener.
#include <gtest/gtest.h>

#include <string>

#include "tests/support/test_engine.h"
#include "tests/support/test_sockets.h"
#include "tests/support/wine.h"

namespace quillgate {
namespace {

using platform::Socket;
using platform::Transport;
using test::ruleFor;
using test::TestEngine;

class Win32PortSharing : public testing::Test {
 protected:
  TestEngine engine;
  const std::uint16_t port = test::freePortOfBothProtocols();
  const std::wstring local = std::to_wstring(port);
  const std::wstring route = L" Listening on local port " + local + L" -> 127.0.0.1:";
};

TEST_F(Win32PortSharing, LetsTwoTcpRulesListen) {
  RuleSet rules;
  rules[0] = rules[1] = ruleFor(Protocol::tcp, port, 9);
  engine.state().rules.replace(rules);
  engine.state().server.start();
  EXPECT_TRUE(engine.waitFor(L"[TCP]" + route + L"9", test::runsUnderWine() ? 1 : 2));
  if (test::runsUnderWine()) {
    EXPECT_TRUE(engine.waitFor(L"[TCP] Failed to bind/listen on local port " + local));
  }
}

TEST_F(Win32PortSharing, LetsATcpRuleListenBesideAServiceThatIsNotExclusive) {
  const Socket service = platform::openIpv4Socket(Transport::tcp);
  ASSERT_TRUE(test::bindTo(service, test::loopback(port)) && platform::startListening(service));
  engine.setRule(ruleFor(Protocol::tcp, port, 9));
  engine.state().server.start();
  EXPECT_TRUE(engine.waitFor(test::runsUnderWine()
                                 ? L"[TCP] Failed to bind/listen on local port " + local
                                 : L"[TCP]" + route + L"9"));
}

TEST_F(Win32PortSharing, LetsTwoUdpRulesListenAndGivesADatagramToOneOfThem) {
  const Socket targets[] = {test::udpOnLoopback(), test::udpOnLoopback()};
  RuleSet rules;
  rules[0] = ruleFor(Protocol::udp, port, test::localPort(targets[0]));
  rules[1] = ruleFor(Protocol::udp, port, test::localPort(targets[1]));
  engine.state().rules.replace(rules);
  engine.state().server.start();
  for (const Socket& target : targets) {
    ASSERT_TRUE(engine.waitFor(L"[UDP]" + route + std::to_wstring(test::localPort(target))));
  }
  const Socket client = test::udpOnLoopback();
  ASSERT_TRUE(test::sendDatagramTo(client, port, "whose is it?"));
  const auto hasIt = [&](const Socket& target) { return !test::staysQuiet(target, {}); };
  EXPECT_TRUE(test::eventually([&] { return hasIt(targets[0]) || hasIt(targets[1]); }));
  EXPECT_NE(hasIt(targets[0]), hasIt(targets[1]));
}

TEST_F(Win32PortSharing, LetsNoRuleListenOnAPortThatIsHeldExclusively) {
  const Socket tcp = test::holdPort(Transport::tcp);
  const Socket udp = test::holdPort(Transport::udp);
  RuleSet rules;
  rules[0] = ruleFor(Protocol::tcp, test::localPort(tcp), 9);
  rules[1] = ruleFor(Protocol::udp, test::localPort(udp), 9);
  engine.state().rules.replace(rules);
  engine.state().server.start();
  EXPECT_TRUE(engine.waitFor(L"[TCP] Failed to bind/listen on local port " +
                             std::to_wstring(test::localPort(tcp))));
  EXPECT_TRUE(engine.waitFor(L"[UDP] Failed to bind on local port " +
                             std::to_wstring(test::localPort(udp))));
}

}  // namespace
}  // namespace quillgate
