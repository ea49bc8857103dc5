// The log window: what it shows of the event log, and when.
#include <gmock/gmock.h>

#include "core/event_log.h"
#include "core/time_stamp.h"
#include "tests/ui/client_flood.h"
#include "tests/ui/log_test.h"

namespace quillgate::test {
namespace {

using testing::ElementsAre;

class LogWindow : public LogTest {
 protected:
  [[nodiscard]] Control clearButton() const { return window.control(L"Clear logs"); }
};

TEST_F(LogWindow, KeepsTheButtonAndStretchesTheList) {
  start();
  openLog();
  const Box client = window.clientSize();
  EXPECT_EQ(clearButton().place(), (Box{10, 10, 120, 28}));
  EXPECT_EQ(list.place(), (Box{10, 48, client.width - 20, client.height - 58}));
  window.setClientSize(640, 300);
  EXPECT_EQ(clearButton().place(), (Box{10, 10, 120, 28}));
  EXPECT_EQ(list.place(), (Box{10, 48, 620, 242}));
}

TEST_F(LogWindow, ShowsTheLinesSoFarAndItsOwnOpeningWithTheNextLine) {
  start();
  ASSERT_TRUE(files.waitForLog(L"Server started."));
  const std::vector<std::wstring> before = files.logLines();
  openLog();
  EXPECT_EQ(list.entries(), before);
  EXPECT_EQ(files.logMessages().back(), L"Log window opened.");

  startStop().press();
  EXPECT_TRUE(listShows(files.logLines()));
  EXPECT_THAT(lastOf(files.logMessages(), 3),
              ElementsAre(L"Log window opened.", L"Stopping server...", L"Server stopped."));
}

TEST_F(LogWindow, ShowsNewLinesAsTheyCome) {
  start();
  openLog();
  for (int i = 0; i < 5; ++i) {
    startStop().press();
    EXPECT_TRUE(listShows(files.logLines()));
  }
}

TEST_F(LogWindow, OpensAtTheLastFiveHundredLines) {
  startWithClients();
  logLines(600);
  const std::vector<std::wstring> before = files.logLines();
  ASSERT_GT(before.size(), kMaxLines);
  openLog();
  EXPECT_EQ(list.entries(), lastOf(before, kMaxLines));
  EXPECT_TRUE(showsItsEnd());
}

TEST_F(LogWindow, DropsTheOldestLinesAboveFiveHundredAndFollowsTheEnd) {
  startWithClients();
  logLines(520);
  openLog();
  logLines(40);
  EXPECT_TRUE(listShows(lastOf(files.logLines(), kMaxLines)));
  EXPECT_EQ(list.lineCount(), kMaxLines);
  EXPECT_TRUE(showsItsEnd());
}

TEST_F(LogWindow, DoesNotMoveAReaderWhoHasScrolledUp) {
  startWithClients();
  logLines(520);
  openLog();
  list.scrollToTop();
  logLines(40);
  EXPECT_TRUE(listShows(lastOf(files.logLines(), kMaxLines)));
  EXPECT_EQ(list.firstLineInSight(), 0);
}

TEST_F(LogWindow, ShowsAfterReopeningWhatWasLoggedMeanwhile) {
  start();
  openLog();
  window.close();
  ASSERT_TRUE(eventually([&] { return !window.isThere(); }));
  for (int i = 0; i < 3; ++i) startStop().press();
  const std::vector<std::wstring> before = files.logLines();
  openLog();
  EXPECT_EQ(list.entries(), before);
}

TEST_F(LogWindow, ClearsTheListAndTheFile) {
  start();
  openLog();
  clearButton().press();
  EXPECT_EQ(list.lineCount(), 0U);
  EXPECT_EQ(contentOf(files.logPath), std::nullopt);

  startStop().press();
  EXPECT_THAT(files.logMessages(), ElementsAre(L"Stopping server...", L"Server stopped."));
  EXPECT_TRUE(listShows(files.logLines()));
}

TEST_F(LogWindow, FollowsTheEndAgainWhenTheReaderIsBackAtIt) {
  startWithClients();
  logLines(200);
  openLog();
  list.scrollToTop();
  logLines(2);
  ASSERT_TRUE(listShows(files.logLines()));
  EXPECT_EQ(list.firstLineInSight(), 0);
  list.scrollToEnd();
  logLines(2);
  ASSERT_TRUE(listShows(files.logLines()));
  EXPECT_TRUE(showsItsEnd());
}

TEST_F(LogWindow, KeepsItsLinesWhenTheLogTrimsItsList) {
  startWithClients();
  ASSERT_TRUE(files.waitForLog(L"Server started."));
  logLines(kMaxLogLines - files.logLines().size());
  const std::vector<std::wstring> before = files.logLines();
  ASSERT_EQ(before.size(), kMaxLogLines);
  openLog();
  EXPECT_EQ(list.entries(), lastOf(before, kMaxLines));
  EXPECT_TRUE(showsItsEnd());

  logLines(200);
  EXPECT_TRUE(listShows(lastOf(files.logLines(), kMaxLines)));
}

TEST_F(LogWindow, SurvivesNewsThatComesWhenItIsClosed) {
  startWithClients();
  openLog();
  {
    const ClientFlood flood(udpPort());
    const std::size_t before = files.logLines().size();
    ASSERT_TRUE(eventually([&] { return files.logLines().size() > before + kMaxLines; }));
    window.close();
    ASSERT_TRUE(eventually([&] { return program->windows(L"Log").empty(); }));
    const std::size_t closed = files.logLines().size();
    EXPECT_TRUE(eventually([&] { return files.logLines().size() > closed + kMaxLines; }));
  }
  EXPECT_EQ(program->close(), 0);
}

}  // namespace
}  // namespace quillgate::test
