#include "ui/monitor_actions.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "tests/support/temp_folder.h"
#include "tests/support/test_engine.h"

namespace quillgate {
namespace {

using Messages = std::vector<std::wstring>;

constexpr wchar_t kOffNotice[] =
    L"Monitoring is OFF.\r\nSelect 'All' or a rule to start monitoring.";

class MonitorActions : public testing::Test {
 protected:
  test::TestEngine engine;
  SharedState& state = engine.state();
  TrafficMonitor& monitor = state.monitor;
  MonitorView view{monitor};
};

TEST_F(MonitorActions, OpeningSwitchesCapturingOffAndShowsTheNotice) {
  monitor.choose(4);
  monitor.captureEvent(4, L"event");
  EXPECT_EQ(openMonitor(state, view), kOffNotice);
  EXPECT_EQ(monitor.filter(), kFilterOff);
  EXPECT_FALSE(monitor.isCapturing());
  EXPECT_EQ(monitor.snapshot(kFilterAll).size(), 1U);
  EXPECT_EQ(engine.messages(), Messages());
}

TEST_F(MonitorActions, ANoticeLostWithTheLastWindowDoesNotSilenceTheNext) {
  engine.notifier().monitorOpen = true;
  monitor.choose(kFilterAll);
  monitor.captureEvent(0, L"event");  // its notice dies with the window
  EXPECT_EQ(engine.notifier().recordNotices, 1);

  EXPECT_EQ(openMonitor(state, view), kOffNotice);
  static_cast<void>(chooseFilter(state, view, kFilterAll));
  monitor.captureEvent(0, L"event");
  EXPECT_EQ(engine.notifier().recordNotices, 2);
}

TEST_F(MonitorActions, ChoosingAnEntrySwitchesCapturingOnAndShowsItsRecords) {
  monitor.choose(kFilterAll);
  monitor.captureEvent(1, L"earlier");
  monitor.captureEvent(2, L"other");
  monitor.choose(kFilterOff);

  const std::wstring& text = chooseFilter(state, view, 1);

  EXPECT_TRUE(text.ends_with(L"  earlier\r\n")) << text;
  EXPECT_EQ(monitor.filter(), 1);
  EXPECT_TRUE(monitor.isCapturing());
  EXPECT_EQ(engine.messages(), Messages{L"Monitor turned ON."});
}

TEST_F(MonitorActions, ChoosingAllAndThenARuleSaysTwiceThatMonitoringIsOn) {
  static_cast<void>(chooseFilter(state, view, kFilterAll));
  static_cast<void>(chooseFilter(state, view, 1));
  EXPECT_EQ(engine.messages(), (Messages{L"Monitor turned ON.", L"Monitor turned ON."}));
}

TEST_F(MonitorActions, ChoosingOffSwitchesCapturingOffAndShowsTheNotice) {
  static_cast<void>(chooseFilter(state, view, kFilterAll));
  monitor.captureEvent(1, L"event");
  EXPECT_EQ(chooseFilter(state, view, kFilterOff), kOffNotice);
  EXPECT_EQ(monitor.filter(), kFilterOff);
  EXPECT_FALSE(monitor.isCapturing());
  EXPECT_EQ(engine.messages(),
            (Messages{L"Monitor turned ON.", L"Monitor turned OFF (None selected)."}));
}

TEST_F(MonitorActions, ChoosingAFormatRendersEverythingAnewAndLogsNothing) {
  monitor.choose(kFilterAll);
  monitor.capturePayload(0, L"[UDP] C->S  ", std::vector<std::byte>(1, std::byte{'A'}));
  EXPECT_TRUE(chooseFormat(state, view, DumpFormat::hex).ends_with(L"C->S  \r\n41 \r\n"));
  EXPECT_EQ(monitor.format(), DumpFormat::hex);

  EXPECT_TRUE(chooseFormat(state, view, DumpFormat::ascii).ends_with(L"C->S  \r\nA\r\n"));
  EXPECT_EQ(monitor.format(), DumpFormat::ascii);
  EXPECT_EQ(engine.messages(), Messages());
}

TEST_F(MonitorActions, TheFormatListOffersAsciiAndThenHex) {
  EXPECT_EQ(std::vector<std::wstring>(std::begin(kFormatNames), std::end(kFormatNames)),
            (std::vector<std::wstring>{L"ASCII", L"HEX"}));
  EXPECT_EQ(formatAt(0), DumpFormat::ascii);
  EXPECT_EQ(formatAt(1), DumpFormat::hex);
  for (const int none : {-1, 2}) EXPECT_EQ(formatAt(none), DumpFormat::ascii);
}

TEST_F(MonitorActions, TheFormatSurvivesClosingAndOpening) {
  static_cast<void>(chooseFormat(state, view, DumpFormat::hex));
  MonitorView next(monitor);
  static_cast<void>(openMonitor(state, next));
  EXPECT_EQ(monitor.format(), DumpFormat::hex);
}

TEST_F(MonitorActions, ChoosingAFormatWhileMonitoringIsOffShowsTheNotice) {
  EXPECT_EQ(chooseFormat(state, view, DumpFormat::hex), kOffNotice);
}

TEST_F(MonitorActions, ClearingForgetsTheRecordsAndGoesOnCapturing) {
  static_cast<void>(chooseFilter(state, view, kFilterAll));
  monitor.captureEvent(0, L"old");
  EXPECT_NE(view.refresh(), nullptr);

  EXPECT_EQ(clearMonitor(state, view), L"");

  EXPECT_EQ(monitor.snapshot(kFilterAll).size(), 0U);
  EXPECT_TRUE(monitor.isCapturing());
  EXPECT_EQ(engine.messages(), (Messages{L"Monitor turned ON.", L"Monitor buffers cleared."}));
  monitor.captureEvent(0, L"new");
  const std::wstring* text = view.refresh();
  ASSERT_NE(text, nullptr);
  EXPECT_TRUE(text->ends_with(L"  new\r\n"));
  EXPECT_EQ(text->find(L"old"), std::wstring::npos);
}

TEST_F(MonitorActions, ClearingWhileMonitoringIsOffShowsTheNotice) {
  EXPECT_EQ(clearMonitor(state, view), kOffNotice);
  EXPECT_EQ(engine.messages(), Messages{L"Monitor buffers cleared."});
}

TEST_F(MonitorActions, SavingWritesAByteOrderMarkAndTheExport) {
  const test::TempFolder folder;
  const std::wstring path = folder.file(L"monitor.txt");
  monitor.choose(kFilterAll);
  monitor.captureEvent(0, L"event");
  test::writeFile(path, std::string(100000, 'x'));  // goes

  EXPECT_TRUE(saveMonitor(state, kFilterOff, path));

  const auto text = monitor.exportText(kFilterOff);
  EXPECT_EQ(test::contentOf(path),
            "\xFF\xFE" + std::string(reinterpret_cast<const char*>(text.data()), text.size()));
  EXPECT_EQ(engine.messages(), Messages{L"Monitor saved to: " + path});
}

TEST_F(MonitorActions, SavingFollowsTheSelectionAndNotTheFilter) {
  const test::TempFolder folder;
  monitor.choose(5);
  EXPECT_TRUE(saveMonitor(state, 2, folder.file(L"a.txt")));
  const auto text = monitor.exportText(2);
  EXPECT_EQ(test::contentOf(folder.file(L"a.txt")),
            "\xFF\xFE" + std::string(reinterpret_cast<const char*>(text.data()), text.size()));
}

TEST_F(MonitorActions, SavingWhereNoFileCanBeFailsWithoutALine) {
  const test::TempFolder folder;
  EXPECT_FALSE(saveMonitor(state, kFilterAll, folder.file(L"missing") + L"/monitor.txt"));
  EXPECT_FALSE(saveMonitor(state, kFilterAll, folder.path()));
  EXPECT_EQ(engine.messages(), Messages());
  EXPECT_EQ(folder.names(), std::vector<std::wstring>());
}

TEST_F(MonitorActions, SavingOnAFullDiskFailsWithoutALine) {
  // A device that takes no byte; where there is none, the file cannot be created.
  EXPECT_FALSE(saveMonitor(state, kFilterAll, L"/dev/full"));
  EXPECT_EQ(engine.messages(), Messages());
}

}  // namespace
}  // namespace quillgate
