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
  HWND openWith(int button, const std::wstring& className) {
    click(mainControl(button));
    return program->waitForWindow(className);
  }

  void enterRule(int rule, const std::wstring& proto, std::uint16_t local, std::uint16_t target) {
    click(control(rule, IDC_RULE_ENABLED));
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
  EXPECT_EQ(textOf(mainControl(IDC_START_STOP)), L"Stop server");

  // Two rules, typed in.
  click(mainControl(IDC_OPEN_CONFIG));
  editor = program->waitForWindow(L"QuillgateCfgWnd");
  ASSERT_NE(editor, nullptr);
  enterRule(0, L"TCP", tcpPort, localPort(tcpTarget));
  enterRule(1, L"UDP", udpPort, localPort(udpTarget));
  click(GetDlgItem(editor, IDC_CFG_SAVE));
  ASSERT_TRUE(eventually([&] { return !editorIsOpen(); }));
  ASSERT_TRUE(bothRulesListen(1));
  EXPECT_TRUE(forwardsTcp("over TCP", "answered"));
  EXPECT_TRUE(forwardsUdp("over UDP", "answered"));

  // Watching all of it.
  const HWND monitor = openWith(IDC_OPEN_MONITOR, L"QuillgateMonWnd");
  ASSERT_NE(monitor, nullptr);
  const HWND filter = GetDlgItem(monitor, IDC_MON_FILTER);
  ASSERT_EQ(itemsOf(filter).size(), 4u);
  send(filter, CB_SETCURSEL, 1);
  sendCommand(monitor, IDC_MON_FILTER, CBN_SELCHANGE);
  EXPECT_TRUE(forwardsTcp("GET /", "200 OK"));
  EXPECT_TRUE(forwardsUdp("query", "reply"));
  const HWND view = GetDlgItem(monitor, IDC_MON_VIEW);
  EXPECT_TRUE(eventually([&] {
    const std::wstring text = textOf(view);
    return text.find(L"\r\nGET /\r\n") != std::wstring::npos &&
           text.find(L"\r\n200 OK\r\n") != std::wstring::npos &&
           text.find(L"[UDP] C->S  \r\nquery\r\n") != std::wstring::npos &&
           text.find(L"[UDP] S->C  \r\nreply\r\n") != std::wstring::npos;
  })) << textOf(view).size();

  // Keeping what was seen.
  TempFolder captures;
  const std::wstring capture = captures.file(L"monitor.txt");
  confirmName(openDialog(*program, monitor, IDC_MON_SAVE, L"Save As"), capture);
  ASSERT_TRUE(isEnabledAgain(monitor));
  EXPECT_THAT(utf16leText(contentOf(capture).value_or("")), HasSubstr(L"\r\nGET /\r\n"));

  // Taking the rules out, changing them there, and bringing them in again; the log shows it live.
  const HWND log = openWith(IDC_OPEN_LOG, L"QuillgateLogWnd");
  ASSERT_NE(log, nullptr);
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
  EXPECT_TRUE(
      eventually([&] { return linesOf(GetDlgItem(log, IDC_LOG_LIST)) == files.logLines(); }));
  EXPECT_THAT(files.logMessages(), Contains(L"Imported settings from: " + rules));
  ASSERT_TRUE(bothRulesListen(2));
  EXPECT_TRUE(forwardsTcp("after the import", "still there"));

  // The program ends and starts again: the rules are what they were.
  EXPECT_EQ(program->close(), 0u);
  EXPECT_EQ(config(), xml);
  start();
  ASSERT_TRUE(bothRulesListen(3));
  EXPECT_TRUE(forwardsTcp("after the restart", "still there"));
  EXPECT_TRUE(forwardsUdp("after the restart", "still there"));
  openEditor();
  EXPECT_THAT(row(0), ElementsAre(L"on", L"TCP", std::to_wstring(tcpPort), L"127.0.0.1",
                                  std::to_wstring(localPort(tcpTarget))));
  EXPECT_EQ(row(2).at(1), L"UDP");
  EXPECT_EQ(program->close(), 0u);
}

}  // namespace
}  // namespace quillgate::test
