// The program killed while it saves rules, forwards and logs; and what the next start finds.
#include <algorithm>
#include <atomic>
#include <chrono>
#include <random>
#include <thread>

#include "core/time_stamp.h"
#include "tests/support/test_sockets.h"
#include "tests/ui/ui_test.h"

namespace quillgate::test {
namespace {

using platform::Socket;
using platform::Transport;

class KilledProgram : public UiTest {
 protected:
  // Opens the editor, changes the target's port of rule 10, which is off, and saves. The program
  // may end meanwhile.
  void save(const wchar_t* targetPort) const {
    PostMessageW(mainWindow, WM_COMMAND, IDC_OPEN_CONFIG, 0);
    const HWND window = program->waitForWindow(L"QuillgateCfgWnd");
    SendMessageW(GetDlgItem(window, IDC_RULE_TARGET_PORT + 90), WM_SETTEXT, 0,
                 reinterpret_cast<LPARAM>(targetPort));
    SendMessageW(window, WM_COMMAND, IDC_CFG_SAVE, 0);
  }

  // Saves now one, now the other version of the rules, lets clients take turns, each of whom is a
  // line in the log, and kills the program after that time in the middle of it.
  void killAtWorkAfter(std::chrono::milliseconds time) const {
    std::atomic<bool> isOver = false;
    std::thread user([&] {
      for (int i = 0; !isOver; ++i) save(i % 2 == 0 ? L"1" : L"2");
    });
    std::thread clients([&] {
      const Socket one = udpOnLoopback();
      const Socket other = udpOnLoopback();
      while (!isOver) {
        static_cast<void>(sendDatagramTo(one, port, "data"));
        static_cast<void>(sendDatagramTo(other, port, "data"));
      }
    });
    std::this_thread::sleep_for(time);
    program->kill();
    isOver = true;
    user.join();
    clients.join();
  }

  // Every line that has an end has a beginning; after the last end there may be one that was cut.
  void expectWholeLines() const {
    for (const std::wstring& line : files.logLines()) {
      ASSERT_GT(line.size(), kTimeStampLength);
      std::wstring shape = line.substr(0, kTimeStampLength);
      std::ranges::replace_if(
          shape, [](wchar_t c) { return c >= L'0' && c <= L'9'; }, L'd');
      ASSERT_EQ(shape, L"dddd-dd-dd dd:dd:dd.ddd  ") << testing::PrintToString(line);
    }
  }

  Socket target = udpOnLoopback();
  std::uint16_t port = freePort(Transport::udp);
};

TEST_F(KilledProgram, LeavesWholeRulesAndWholeLinesAndStartsAgain) {
  constexpr int kKills = 20;
  RuleSet rules;
  rules[0] = {true, Protocol::udp, port, L"127.0.0.1", localPort(target)};
  files.writeConfig(configBytes(rules));
  start();
  save(L"1");
  const std::string one = contentOf(files.configPath).value();
  save(L"2");
  const std::string other = contentOf(files.configPath).value();
  ASSERT_NE(one, other);

  std::mt19937 random(std::random_device{}());
  for (int kill = 1; kill <= kKills; ++kill) {
    killAtWorkAfter(std::chrono::milliseconds(random() % 300));
    const auto left = contentOf(files.configPath);
    EXPECT_TRUE(left == one || left == other) << left.value_or("no file");
    expectWholeLines();

    start();
    EXPECT_EQ(textOf(mainControl(IDC_START_STOP)), L"Stop server");
    EXPECT_EQ(files.countInLog(L"Loaded XML successfully: " + files.configPath),
              static_cast<std::size_t>(kill) + 1);
  }
}

}  // namespace
}  // namespace quillgate::test
