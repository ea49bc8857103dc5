// The whole program as a person uses it, from its first start to the start after a restart, by its
// windows alone.
#include <gmock/gmock.h>

#include "tests/support/test_sockets.h"
#include "tests/ui/editor_test.h"

namespace quillgate::test {
namespace {

using platform::Socket;
using platform::Transport;
using testing::Contains;
using testing::ElementsAre;
using testing::HasSubstr;

class Story : public EditorTest {
 protected:
  void enterRule(std::size_t rule, const std::wstring& proto, std::uint16_t local,
                 std::uint16_t target) {
    control(rule, Field::enabled).press();
    fillRow(rule, proto, std::to_wstring(local), L"127.0.0.1", std::to_wstring(target));
  }

  [[nodiscard]] bool forwardsTcp(std::string_view request, std::string_view answer) {
    const Socket client = connectToLoopback(tcpPort);
    const Socket server = acceptFrom(tcpTarget);
    return sendAll(client, request) && receiveExactly(server, request.size()) == request &&
           sendAll(server, answer) && receiveExactly(client, answer.size()) == answer;
  }
  [[nodiscard]] bool forwardsUdp(std::string_view request, std::string_view answer) {
    const auto isHere = [](const auto& datagram, std::string_view text) {
      return datagram && datagram->text == text;
    };
    return sendDatagramTo(udpClient, udpPort, request) &&
           isHere(receiveNextDatagram(udpTarget), request) &&
           sendDatagramTo(udpTarget, udpPort, answer) &&
           isHere(receiveNextDatagram(udpClient), answer);
  }

  [[nodiscard]] std::wstring listeningLine(const std::wstring& proto, std::uint16_t local,
                                           std::uint16_t target) const {
    return L"[" + proto + L"] Listening on local port " + std::to_wstring(local) +
           L" -> 127.0.0.1:" + std::to_wstring(target);
  }
  [[nodiscard]] bool bothRulesListen(std::size_t times) const {
    return files.waitForLog(listeningLine(L"TCP", tcpPort, localPort(tcpTarget)), times) &&
           files.waitForLog(listeningLine(L"UDP", udpPort, localPort(udpTarget)), times);
  }

  Socket tcpTarget = listenOnLoopback();
  Socket udpTarget = udpOnLoopback();
  Socket udpClient = udpOnLoopback();
  std::uint16_t tcpPort = freePort(Transport::tcp);
  std::uint16_t udpPort = freePort(Transport::udp);
};

TEST_F(Story, ConfiguresForwardsWatchesExportsImportsAndKeepsItsRules) {
  // The first start, without any file: nothing is forwarded yet.
  start();
  EXPECT_EQ(startStop().text(), L"Stop server");

  // Two rules, typed in.
  openEditor();
  enterRule(0, L"TCP", tcpPort, localPort(tcpTarget));
  enterRule(1, L"UDP", udpPort, localPort(udpTarget));
  pressButton(L"Save");
  ASSERT_TRUE(eventually([&] { return !editorIsOpen(); }));
  ASSERT_TRUE(bothRulesListen(1));
  EXPECT_TRUE(forwardsTcp("over TCP", "answered"));
  EXPECT_TRUE(forwardsUdp("over UDP", "answered"));

  // Watching all of it.
  const Window monitor = open(L"Monitor");
  ASSERT_TRUE(monitor.isThere());
  const Control filter = monitor.control(L"Filter");
  ASSERT_EQ(filter.entries().size(), 4u);
  filter.choose(1);
  EXPECT_TRUE(forwardsTcp("GET /", "200 OK"));
  EXPECT_TRUE(forwardsUdp("query", "reply"));
  const Control view = monitor.control(L"Captured traffic");
  EXPECT_TRUE(eventually([&] {
    const std::wstring text = view.text();
    return text.find(L"\nGET /\n") != std::wstring::npos &&
           text.find(L"\n200 OK\n") != std::wstring::npos &&
           text.find(L"[UDP] C->S  \nquery\n") != std::wstring::npos &&
           text.find(L"[UDP] S->C  \nreply\n") != std::wstring::npos;
  })) << view.text().size();

  // Keeping what was seen.
  TempFolder captures;
  const std::wstring capture = captures.file(L"monitor.txt");
  confirmName(openDialog(monitor, L"Save TXT", L"Save As"), capture);
  ASSERT_TRUE(isUsableAgain(monitor));
  EXPECT_THAT(utf16leText(contentOf(capture).value_or("")), HasSubstr(L"\r\nGET /\r\n"));

  // Taking the rules out, changing them there, and bringing them in again; the log shows it live.
  const Window log = open(L"Log");
  ASSERT_TRUE(log.isThere());
  openEditor();
  const std::wstring rules = exports.file(L"rules.xml");
  exportTo(rules);
  std::string xml = contentOf(rules).value_or("");
  const std::string third = "<rule id=\"3\"><enabled>0</enabled><proto>tcp</proto>";
  ASSERT_NE(xml.find(third), std::string::npos);
  xml.replace(xml.find(third), third.size(),
              "<rule id=\"3\"><enabled>0</enabled><proto>udp</proto>");
  writeFile(rules, xml);
  importFrom(rules);
  EXPECT_EQ(row(2).at(1), L"UDP");
  const Control lines = log.control(L"Log lines");
  EXPECT_TRUE(eventually([&] { return lines.entries() == files.logLines(); }));
  EXPECT_THAT(files.logMessages(), Contains(L"Imported settings from: " + rules));
  ASSERT_TRUE(bothRulesListen(2));
  EXPECT_TRUE(forwardsTcp("after the import", "still there"));

  // The program ends and starts again: the rules are what they were.
  EXPECT_EQ(program->close(), 0);
  EXPECT_EQ(config(), xml);
  start();
  ASSERT_TRUE(bothRulesListen(3));
  EXPECT_TRUE(forwardsTcp("after the restart", "still there"));
  EXPECT_TRUE(forwardsUdp("after the restart", "still there"));
  openEditor();
  EXPECT_THAT(row(0), ElementsAre(L"on", L"TCP", std::to_wstring(tcpPort), L"127.0.0.1",
                                  std::to_wstring(localPort(tcpTarget))));
  EXPECT_EQ(row(2).at(1), L"UDP");
  EXPECT_EQ(program->close(), 0);
}

}  // namespace
}  // namespace quillgate::test
