// The log window while lines come faster than anybody can read.
#include <gtest/gtest.h>

#include <chrono>
#include <cmath>
#include <optional>

#include "tests/support/load.h"
#include "tests/ui/answer_times.h"
#include "tests/ui/client_flood.h"
#include "tests/ui/dialogs.h"
#include "tests/ui/log_test.h"

namespace quillgate::test {
namespace {

class LogFlood : public LogTest {
 protected:
  void SetUp() override {
    startWithClients();
    openLog();
  }

  // Returns when the list is full.
  void startFlood() {
    flood_.emplace(udpPort());
    ASSERT_TRUE(eventually([this] { return list.lineCount() == kMaxLines; }));
  }
  void endFlood() { flood_.reset(); }

  // Waits until the list goes on.
  [[nodiscard]] bool showsNewLines() const {
    const std::wstring former = list.lastLine();
    return eventually([&] {
      const std::wstring line = list.lastLine();
      return !line.empty() && line != former;
    });
  }

  // Every line of the log stands in the list, once the flood is over and the server stopped.
  void expectAllLinesShown() {
    endFlood();
    startStop().press();
    EXPECT_TRUE(listShows(lastOf(files.logLines(), kMaxLines)));
    EXPECT_TRUE(showsItsEnd());
  }

 private:
  std::optional<ClientFlood> flood_;
};

TEST_F(LogFlood, LosesNoLineAndKeepsNobodyWaiting) {
  const StatusClick statusClick(mainWindow, window);
  const std::size_t linesBefore = files.logLines().size();
  const auto begin = std::chrono::steady_clock::now();
  startFlood();
  AnswerTimes answers;
  answers.measureFor(load(std::chrono::seconds(5), std::chrono::seconds(30)), statusClick);
  EXPECT_TRUE(showsNewLines());
  const std::chrono::duration<double> time = std::chrono::steady_clock::now() - begin;
  EXPECT_LT(answers.report(), std::chrono::seconds(5));
  expectAllLinesShown();

  std::vector<std::wstring> lines = files.logMessages();
  lines.erase(lines.begin(), lines.begin() + static_cast<std::ptrdiff_t>(linesBefore));
  // The others are those of the stop.
  std::erase_if(lines, [](const std::wstring& line) { return !line.starts_with(L"[UDP] New"); });
  EXPECT_EQ(lines.size() + 3, files.logLines().size() - linesBefore);
  EXPECT_GT(lines.size(), kMaxLines);
  EXPECT_NE(lines[0], lines[1]);
  for (std::size_t i = 2; i < lines.size(); ++i) ASSERT_EQ(lines[i], lines[i - 2]) << i;
  RecordProperty("linesPerSecond",
                 std::to_string(std::lround(static_cast<double>(lines.size()) / time.count())));
  EXPECT_EQ(program->close(), 0);
}

TEST_F(LogFlood, ReachesALogWindowThatIsOpenedInTheMiddleOfIt) {
  startFlood();
  for (int i = 0; i < 5; ++i) {
    window.close();
    ASSERT_TRUE(eventually([&] { return !window.isThere(); }));
    openLog();
    ASSERT_TRUE(showsNewLines());
  }
  expectAllLinesShown();
}

TEST_F(LogFlood, LetsMessageBoxesBeAnswered) {
  const Window editor = open(L"Config");
  ASSERT_TRUE(editor.isThere());
  const std::wstring noRules = folder.file(L"rules.xml");
  writeFile(noRules, "");
  startFlood();
  expectErrorBoxesAnswered(editor, noRules);
  expectAllLinesShown();
}

}  // namespace
}  // namespace quillgate::test
