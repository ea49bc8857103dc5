#include "ui/status_report.h"

#include <gtest/gtest.h>

#include <string>

#include "tests/support/test_engine.h"
#include "tests/support/test_sockets.h"

namespace quillgate {
namespace {

using platform::Transport;
using test::TestEngine;

class StatusReportTest : public testing::Test {
 protected:
  void SetUp() override {
    engine.state().paths = {L"C:\\data\\Quillgate", L"C:\\data\\Quillgate\\config.xml",
                            L"C:\\data\\Quillgate\\MonitorServer.log"};
  }
  [[nodiscard]] std::wstring report() { return buildStatusReport(engine.state()); }

  TestEngine engine;
};

TEST_F(StatusReportTest, SaysEverythingOfAStoppedServer) {
  RuleSet rules;
  rules[0] = {true, Protocol::tcp, 8080, L"127.0.0.1", 80};
  rules[1] = {false, Protocol::udp, 5353, L"127.0.0.1", 53};
  rules[9] = {true, static_cast<Protocol>(5), 65535, L"a.name.much.longer.than.an.address.example",
              1};
  engine.state().rules.replace(rules);
  EXPECT_EQ(report(),
            L"Server:                       STOPPED\r\n"
            L"\r\n"
            L"Rules:\r\n"
            L"  1)   ON   TCP  local 8080  ->  127.0.0.1:80  [thread:no]\r\n"
            L"  2)   OFF  UDP  local 5353  ->  127.0.0.1:53  [thread:no]\r\n"
            L"  3)   OFF  TCP  local 0  ->  127.0.0.1:0  [thread:no]\r\n"
            L"  4)   OFF  TCP  local 0  ->  127.0.0.1:0  [thread:no]\r\n"
            L"  5)   OFF  TCP  local 0  ->  127.0.0.1:0  [thread:no]\r\n"
            L"  6)   OFF  TCP  local 0  ->  127.0.0.1:0  [thread:no]\r\n"
            L"  7)   OFF  TCP  local 0  ->  127.0.0.1:0  [thread:no]\r\n"
            L"  8)   OFF  TCP  local 0  ->  127.0.0.1:0  [thread:no]\r\n"
            L"  9)   OFF  TCP  local 0  ->  127.0.0.1:0  [thread:no]\r\n"
            L"  10)   ON   UDP  local 65535  ->  a.name.much.longer.than.an.address.example:1"
            L"  [thread:no]\r\n"
            L"\r\n"
            L"Base directory:            C:\\data\\Quillgate\r\n"
            L"Config file:                  C:\\data\\Quillgate\\config.xml\r\n"
            L"Log file:                      C:\\data\\Quillgate\\MonitorServer.log");
}

TEST_F(StatusReportTest, SaysThatTheServerRuns) {
  engine.state().server.start();
  EXPECT_TRUE(
      report().starts_with(L"Server:                       RUNNING\r\n\r\nRules:\r\n  1)   "));
}

TEST_F(StatusReportTest, SaysWhichWorkersRun) {
  const std::uint16_t port = test::freePort(Transport::tcp);
  engine.setRule(test::ruleFor(Protocol::tcp, port, 80), 2);
  engine.state().server.start();
  ASSERT_TRUE(test::eventually([&] { return engine.state().server.isWorkerActive(2); }));
  const std::wstring line =
      L"  3)   ON   TCP  local " + std::to_wstring(port) + L"  ->  127.0.0.1:80  [thread:";
  EXPECT_NE(report().find(line + L"yes]\r\n"), std::wstring::npos);
  EXPECT_NE(report().find(L"  2)   OFF  TCP  local 0  ->  127.0.0.1:0  [thread:no]\r\n"),
            std::wstring::npos);

  engine.stop();
  EXPECT_NE(report().find(line + L"no]\r\n"), std::wstring::npos);
}

TEST_F(StatusReportTest, ShowsAnEnabledRuleWhoseWorkerHasEnded) {
  const platform::Socket taken = test::holdPort(Transport::tcp);
  const std::uint16_t port = test::localPort(taken);
  engine.setRule(test::ruleFor(Protocol::tcp, port, 80));
  engine.state().server.start();
  ASSERT_TRUE(
      engine.waitFor(L"[TCP] Failed to bind/listen on local port " + std::to_wstring(port)));
  ASSERT_TRUE(test::eventually([&] { return !engine.state().server.isWorkerActive(0); }));
  EXPECT_NE(report().find(L"  1)   ON   TCP  local " + std::to_wstring(port) +
                          L"  ->  127.0.0.1:80  [thread:no]\r\n"),
            std::wstring::npos);
}

}  // namespace
}  // namespace quillgate
