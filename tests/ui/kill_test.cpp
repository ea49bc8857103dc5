// The program killed while it saves rules, forwards and logs; and what the next start finds.
#include <algorithm>
#include <chrono>
#include <random>
#include <thread>

#include "core/time_stamp.h"
#include "tests/support/load.h"
#include "tests/support/test_sockets.h"
#include "tests/ui/client_flood.h"
#include "tests/ui/editor_test.h"

namespace quillgate::test {
namespace {

using platform::Socket;
using platform::Transport;

class KilledProgram : public EditorTest {
 protected:
  // Opens the editor, changes the target's port of rule 10, which is off, and saves. The program
  // may end meanwhile.
  void save(const wchar_t* targetPort) {
    editor = open(L"Config");
    type(9, Field::targetPort, targetPort);
    pressButton(L"Save");
  }

  // Saves now one, now the other version of the rules, lets clients take turns, each of whom is a
  // line in the log, and kills the program after that time in the middle of it.
  void killAtWorkAfter(std::chrono::milliseconds time, int firstVersion) {
    const ClientFlood clients(port, 2000);
    std::thread killer([&] {
      std::this_thread::sleep_for(time);
      program->kill();
    });
    for (int i = firstVersion; !program->hasEnded(); ++i) save(i % 2 == 0 ? L"1" : L"2");
    killer.join();
  }

  // Takes a line without an end off the log, so that the next one stands alone. Linux ends a write
  // for a kill, but only where a page of the file ends.
  void removeCutLine() const {
    using namespace std::string_literals;
    constexpr std::size_t kPage = 4096;  // bytes
    const std::string log = contentOf(files.logPath).value();
    const std::string whole = log.substr(0, log.rfind("\r\0\n\0"s) + 4);
    if (whole == log) return;
    EXPECT_EQ(log.size() % kPage, 0U) << log.size();
    writeFile(files.logPath, whole);
  }

  // Every line that has an end has a beginning.
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
  const int kills = load(8, 20);
  RuleSet rules;
  rules[0] = {true, Protocol::udp, port, L"127.0.0.1", localPort(target)};
  files.writeConfig(configBytes(rules));
  start();
  save(L"1");
  const std::string one = contentOf(files.configPath).value();
  const auto begin = std::chrono::steady_clock::now();
  save(L"2");
  const auto saveTime = std::chrono::duration_cast<std::chrono::milliseconds>(
      std::chrono::steady_clock::now() - begin);
  const std::string other = contentOf(files.configPath).value();
  ASSERT_NE(one, other);

  std::mt19937 random(std::random_device{}());
  // Between the middle of the first save and that of the second one, or of a later one.
  const auto range = static_cast<unsigned>(std::max<std::int64_t>(300, saveTime.count()));
  for (int kill = 1; kill <= kills; ++kill) {
    killAtWorkAfter(saveTime / 2 + std::chrono::milliseconds(random() % range), kill);
    const auto left = contentOf(files.configPath);
    EXPECT_TRUE(left == one || left == other) << left.value_or("no file");
    removeCutLine();
    expectWholeLines();

    start();
    EXPECT_EQ(startStop().text(), L"Stop server");
    EXPECT_EQ(files.countInLog(L"Loaded XML successfully: " + files.configPath),
              static_cast<std::size_t>(kill) + 1);
  }
}

}  // namespace
}  // namespace quillgate::test
