#include "forwarding/forwarding_server.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <string>
#include <vector>

#include "tests/support/test_engine.h"
#include "tests/support/test_sockets.h"

namespace quillgate {
namespace {

using platform::Transport;
using test::eventually;
using test::freePort;
using test::ruleFor;
using test::TestEngine;
using Lines = std::vector<std::wstring>;

class ForwardingServerTest : public testing::Test {
 protected:
  [[nodiscard]] bool active(std::size_t index) { return server.isWorkerActive(index); }

  TestEngine engine;
  ForwardingServer& server = engine.state().server;
};

TEST_F(ForwardingServerTest, IsStoppedAtFirst) {
  EXPECT_FALSE(server.isRunning());
  for (std::size_t i = 0; i < kRuleCount; ++i) EXPECT_FALSE(active(i));
}

TEST_F(ForwardingServerTest, StartsAndStopsWithoutRunnableRules) {
  server.start();
  EXPECT_TRUE(server.isRunning());
  engine.stop();
  EXPECT_FALSE(server.isRunning());
  EXPECT_EQ(engine.messages(), (Lines{L"Starting server...", L"Server started.",
                                      L"Stopping server...", L"Server stopped."}));
}

TEST_F(ForwardingServerTest, DoesNothingWhenStartedTwice) {
  engine.setRule(ruleFor(Protocol::tcp, freePort(Transport::tcp), 9));
  server.start();
  server.start();
  engine.stop();
  EXPECT_EQ(engine.countOf(L"Starting server..."), 1U);
  EXPECT_EQ(engine.countOf(L"Server started."), 1U);
}

TEST_F(ForwardingServerTest, DoesNothingWhenStoppedWhileStopped) {
  engine.stop();
  EXPECT_TRUE(engine.messages().empty());
}

TEST_F(ForwardingServerTest, SkipsRulesThatAreNotRunnableAndLogsNothing) {
  RuleSet rules;
  rules[0] = {false, Protocol::tcp, freePort(Transport::tcp), L"127.0.0.1", 9};
  rules[1] = {true, Protocol::tcp, 0, L"127.0.0.1", 9};
  rules[2] = {true, Protocol::udp, freePort(Transport::udp), L"127.0.0.1", 0};
  engine.state().rules.replace(rules);
  server.start();
  engine.stop();
  EXPECT_EQ(engine.messages(), (Lines{L"Starting server...", L"Server started.",
                                      L"Stopping server...", L"Server stopped."}));
}

TEST_F(ForwardingServerTest, GivesEveryRunnableRuleAWorker) {
  const std::uint16_t tcpPort = freePort(Transport::tcp);
  const std::uint16_t udpPort = freePort(Transport::udp);
  RuleSet rules;
  rules[0] = ruleFor(Protocol::tcp, tcpPort, 9);
  rules[9] = ruleFor(Protocol::udp, udpPort, 9);
  engine.state().rules.replace(rules);
  server.start();
  EXPECT_TRUE(engine.waitFor(L"[TCP] Listening on local port " + std::to_wstring(tcpPort) +
                             L" -> 127.0.0.1:9"));
  EXPECT_TRUE(engine.waitFor(L"[UDP] Listening on local port " + std::to_wstring(udpPort) +
                             L" -> 127.0.0.1:9"));
  EXPECT_TRUE(active(0));
  EXPECT_TRUE(active(9));
  EXPECT_FALSE(active(1));

  engine.stop();
  EXPECT_FALSE(active(0));
  EXPECT_FALSE(active(9));
  EXPECT_EQ(engine.countOf(L"[TCP] Stopped local port " + std::to_wstring(tcpPort)), 1U);
  EXPECT_EQ(engine.countOf(L"[UDP] Stopped local port " + std::to_wstring(udpPort)), 1U);
  const Lines& messages = engine.messages();
  EXPECT_EQ(messages.front(), L"Starting server...");
  EXPECT_EQ(messages.back(), L"Server stopped.");
  const auto at = [&](std::wstring_view message) { return std::ranges::find(messages, message); };
  EXPECT_LT(at(L"Server started."), at(L"Stopping server..."));
  EXPECT_LT(at(L"Stopping server..."), at(L"[TCP] Stopped local port " + std::to_wstring(tcpPort)));
}

TEST_F(ForwardingServerTest, ForwardsAnUnknownProtocolAsUdp) {
  const std::uint16_t port = freePort(Transport::udp);
  engine.setRule(ruleFor(static_cast<Protocol>(7), port, 9));
  server.start();
  EXPECT_TRUE(engine.waitFor(L"[UDP] Listening on local port " + std::to_wstring(port) +
                             L" -> 127.0.0.1:9"));
}

TEST_F(ForwardingServerTest, CountsAsStartedWhenAWorkerCannotOpenItsPort) {
  const platform::Socket taken = test::holdPort(Transport::tcp);
  const std::uint16_t port = test::localPort(taken);
  engine.setRule(ruleFor(Protocol::tcp, port, 9), 4);
  server.start();
  EXPECT_TRUE(
      engine.waitFor(L"[TCP] Failed to bind/listen on local port " + std::to_wstring(port)));
  EXPECT_TRUE(eventually([&] { return !active(4); }));
  EXPECT_TRUE(server.isRunning());
  EXPECT_EQ(engine.countOf(L"Server started."), 1U);

  engine.stop();
  EXPECT_EQ(engine.countOf(L"[TCP] Stopped local port " + std::to_wstring(port)), 0U);
  EXPECT_EQ(engine.messages().back(), L"Server stopped.");
}

TEST_F(ForwardingServerTest, TakesItsRulesFromTheTableAtEachStart) {
  const std::uint16_t first = freePort(Transport::tcp);
  engine.setRule(ruleFor(Protocol::tcp, first, 9));
  server.start();
  ASSERT_TRUE(engine.waitFor(L"[TCP] Listening on local port " + std::to_wstring(first) +
                             L" -> 127.0.0.1:9"));
  const std::uint16_t second = freePort(Transport::tcp);
  engine.setRule(ruleFor(Protocol::tcp, second, 9));
  EXPECT_TRUE(test::connectToLoopback(first).isOpen());

  engine.stop();
  server.start();
  EXPECT_TRUE(engine.waitFor(L"[TCP] Listening on local port " + std::to_wstring(second) +
                             L" -> 127.0.0.1:9"));
  EXPECT_EQ(engine.countOf(L"[TCP] Stopped local port " + std::to_wstring(first)), 1U);
}

TEST_F(ForwardingServerTest, OpensTheSamePortAgainAndAgain) {
  const std::uint16_t port = freePort(Transport::tcp);
  engine.setRule(ruleFor(Protocol::tcp, port, 9));
  for (std::size_t round = 1; round <= 3; ++round) {
    server.start();
    EXPECT_TRUE(engine.waitFor(
        L"[TCP] Listening on local port " + std::to_wstring(port) + L" -> 127.0.0.1:9", round));
    engine.stop();
  }
  EXPECT_EQ(engine.countOf(L"[TCP] Stopped local port " + std::to_wstring(port)), 3U);
}

TEST_F(ForwardingServerTest, StopsAllTenWorkersTogether) {
  RuleSet rules;
  for (std::size_t i = 0; i < rules.size(); ++i) {
    rules[i] = i % 2 == 0 ? ruleFor(Protocol::tcp, freePort(Transport::tcp), 9)
                          : ruleFor(Protocol::udp, freePort(Transport::udp), 9);
  }
  engine.state().rules.replace(rules);
  server.start();
  ASSERT_TRUE(eventually([&] {
    for (std::size_t i = 0; i < kRuleCount; ++i) {
      if (!active(i)) return false;
    }
    return true;
  }));
  const auto start = std::chrono::steady_clock::now();
  engine.stop();
  // One poll of 0.3 s, not ten of them one after the other.
  EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(2000));
  for (std::size_t i = 0; i < kRuleCount; ++i) EXPECT_FALSE(active(i));
}

}  // namespace
}  // namespace quillgate
