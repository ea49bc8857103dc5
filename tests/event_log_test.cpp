#include "core/event_log.h"

#include <gtest/gtest.h>

#include <future>
#include <regex>
#include <set>
#include <string>
#include <thread>
#include <vector>

#include "core/text.h"
#include "core/time_stamp.h"
#include "platform/system.h"
#include "tests/support/temp_folder.h"
#include "tests/support/test_engine.h"

namespace quillgate {
namespace {

using test::contentOf;
using test::FakeNotifier;
using test::TempFolder;
using test::writeFile;
using Lines = std::vector<std::wstring>;

std::string utf16le(std::wstring_view text) {
  std::vector<std::byte> bytes;
  appendUtf16le(text, bytes);
  return {reinterpret_cast<const char*>(bytes.data()), bytes.size()};
}

std::wstring messageOf(const std::wstring& line) { return line.substr(kTimeStampLength); }

std::vector<std::wstring> messagesOf(const std::vector<std::wstring>& lines) {
  std::vector<std::wstring> messages;
  for (const auto& line : lines) messages.push_back(messageOf(line));
  return messages;
}

std::vector<std::wstring> openedView(EventLog& log, std::size_t maxLines) {
  std::vector<std::wstring> lines;
  log.openView(maxLines, [&](const std::wstring& line) { lines.push_back(line); });
  return lines;
}

class EventLogTest : public testing::Test {
 protected:
  void writeNumbered(int first, int last) {
    for (int i = first; i <= last; ++i) log.write(std::to_wstring(i));
  }

  FakeNotifier notifier;
  EventLog log{notifier};
  TempFolder folder;
  const std::wstring path = folder.file(L"MonitorServer.log");
};

TEST_F(EventLogTest, PutsTheLocalTimeAndTwoBlanksBeforeTheMessage) {
  log.write(L"Server started.");
  const auto lines = log.takeNewLines();
  ASSERT_EQ(lines.size(), 1U);
  EXPECT_TRUE(std::regex_match(
      lines[0], std::wregex(LR"(\d{4}-\d\d-\d\d \d\d:\d\d:\d\d\.\d{3}  Server started\.)")));
}

TEST_F(EventLogTest, WritesTheFileAsUtf16WithoutAMark) {
  log.setLogFilePath(path);
  log.write(L"caf\u00E9");
  log.write(L"two");
  const auto lines = log.takeNewLines();
  ASSERT_EQ(lines.size(), 2U);
  EXPECT_EQ(contentOf(folder.file(L"MonitorServer.log")),
            utf16le(lines[0] + L"\r\n" + lines[1] + L"\r\n"));
}

TEST_F(EventLogTest, AppendsToTheFileOfEarlierRuns) {
  writeFile(folder.file(L"MonitorServer.log"), utf16le(L"earlier\r\n"));
  log.setLogFilePath(path);
  log.write(L"now");
  EXPECT_EQ(contentOf(folder.file(L"MonitorServer.log")),
            utf16le(L"earlier\r\n" + log.takeNewLines().at(0) + L"\r\n"));
}

TEST_F(EventLogTest, WritesAnEmptyMessageAsThePrefixAlone) {
  log.setLogFilePath(path);
  log.write(L"");
  const auto lines = log.takeNewLines();
  ASSERT_EQ(lines.size(), 1U);
  EXPECT_EQ(lines[0].size(), kTimeStampLength);
  EXPECT_TRUE(lines[0].ends_with(L"  "));
  EXPECT_EQ(contentOf(folder.file(L"MonitorServer.log")), utf16le(lines[0] + L"\r\n"));
}

TEST_F(EventLogTest, KeepsAMessageWithLineBreaksAsOneLine) {
  log.setLogFilePath(path);
  log.write(L"a\r\nb\nc");
  const auto lines = log.takeNewLines();
  ASSERT_EQ(lines.size(), 1U);
  EXPECT_EQ(messageOf(lines[0]), L"a\r\nb\nc");
  EXPECT_EQ(contentOf(folder.file(L"MonitorServer.log")), utf16le(lines[0] + L"\r\n"));
}

TEST_F(EventLogTest, WritesNothingToDiskWithoutAPath) {
  log.write(L"memory only");
  EXPECT_TRUE(folder.names().empty());
  EXPECT_EQ(messagesOf(log.takeNewLines()), std::vector<std::wstring>{L"memory only"});
}

TEST_F(EventLogTest, SkipsAFileThatCannotBeOpenedWithoutAReport) {
  log.setLogFilePath(folder.file(L"missing folder") + platform::kPathSeparator + L"x.log");
  log.write(L"a");
  log.write(L"b");
  EXPECT_EQ(messagesOf(log.takeNewLines()), (std::vector<std::wstring>{L"a", L"b"}));
  EXPECT_TRUE(folder.names().empty());
}

TEST_F(EventLogTest, NotifiesTheFrontEndAfterEachLine) {
  log.write(L"a");
  EXPECT_EQ(notifier.lineNotices, 1);
  log.write(L"b");
  EXPECT_EQ(notifier.lineNotices, 2);
  log.clear();
  EXPECT_EQ(notifier.lineNotices, 2);
}

TEST_F(EventLogTest, NotifiesTheFrontEndWhenTheLineIsThereAndTheLockIsFree) {
  std::future<Lines> taken;
  notifier.onLine = [&] {
    taken = std::async(std::launch::async, [&] { return messagesOf(log.takeNewLines()); });
    EXPECT_EQ(taken.wait_for(test::kDeadline), std::future_status::ready);
  };
  log.write(L"a");
  ASSERT_TRUE(taken.valid());
  EXPECT_EQ(taken.get(), Lines{L"a"});
}

TEST_F(EventLogTest, HandsOutEachNewLineOnce) {
  writeNumbered(1, 2);
  EXPECT_EQ(messagesOf(log.takeNewLines()), (std::vector<std::wstring>{L"1", L"2"}));
  EXPECT_TRUE(log.takeNewLines().empty());
  writeNumbered(3, 3);
  EXPECT_EQ(messagesOf(log.takeNewLines()), std::vector<std::wstring>{L"3"});
}

TEST_F(EventLogTest, OpensAViewWithTheLastLines) {
  writeNumbered(1, 501);
  const auto lines = openedView(log, 500);
  ASSERT_EQ(lines.size(), 500U);
  EXPECT_EQ(messageOf(lines.front()), L"2");
  EXPECT_EQ(messageOf(lines.back()), L"501");
  EXPECT_TRUE(log.takeNewLines().empty());
}

TEST_F(EventLogTest, OpensAViewWithAllLinesWhenThereAreFewer) {
  EXPECT_TRUE(openedView(log, 500).empty());
  writeNumbered(1, 500);
  EXPECT_EQ(openedView(log, 500).size(), 500U);
}

TEST_F(EventLogTest, KeepsFiveThousandLines) {
  writeNumbered(1, 5000);
  EXPECT_EQ(openedView(log, 10000).size(), 5000U);
}

TEST_F(EventLogTest, DropsTheOldestThousandWithTheFiveThousandAndFirst) {
  writeNumbered(1, 5001);
  const auto lines = openedView(log, 10000);
  ASSERT_EQ(lines.size(), 4001U);
  EXPECT_EQ(messageOf(lines.front()), L"1001");
  EXPECT_EQ(messageOf(lines.back()), L"5001");
}

TEST_F(EventLogTest, StillHandsOutOnlyNewLinesAfterATrim) {
  writeNumbered(1, 5000);
  EXPECT_EQ(log.takeNewLines().size(), 5000U);
  writeNumbered(5001, 5001);
  EXPECT_EQ(messagesOf(log.takeNewLines()), std::vector<std::wstring>{L"5001"});
}

TEST_F(EventLogTest, HandsOutWhatIsLeftWhenATrimDropsLinesNobodyTook) {
  writeNumbered(1, 999);
  EXPECT_EQ(log.takeNewLines().size(), 999U);
  writeNumbered(1000, 5001);
  const auto lines = log.takeNewLines();
  ASSERT_EQ(lines.size(), 4001U);
  EXPECT_EQ(messageOf(lines.front()), L"1001");
}

TEST_F(EventLogTest, AccumulatesLinesWhileNoViewIsOpen) {
  writeNumbered(1, 12000);
  const auto lines = log.takeNewLines();
  ASSERT_EQ(lines.size(), 5000U);  // 12000 less seven trims
  EXPECT_EQ(messageOf(lines.front()), L"7001");
  EXPECT_EQ(messageOf(lines.back()), L"12000");
}

TEST_F(EventLogTest, DeletesLinesAndFileWhenCleared) {
  log.setLogFilePath(path);
  log.write(L"before");
  log.clear();
  EXPECT_TRUE(folder.names().empty());
  EXPECT_TRUE(log.takeNewLines().empty());
  EXPECT_TRUE(openedView(log, 500).empty());
}

TEST_F(EventLogTest, StartsANewFileAfterAClear) {
  log.setLogFilePath(path);
  log.write(L"before");
  log.clear();
  log.write(L"after");
  const auto lines = log.takeNewLines();
  EXPECT_EQ(messagesOf(lines), std::vector<std::wstring>{L"after"});
  EXPECT_EQ(contentOf(folder.file(L"MonitorServer.log")), utf16le(lines.at(0) + L"\r\n"));
}

TEST_F(EventLogTest, HandsOutTheLinesThatComeAfterAClear) {
  writeNumbered(1, 3);
  EXPECT_EQ(log.takeNewLines().size(), 3U);
  log.clear();
  writeNumbered(4, 5);
  EXPECT_EQ(messagesOf(log.takeNewLines()), (Lines{L"4", L"5"}));
}

TEST_F(EventLogTest, ClearsWithoutAFileToDelete) {
  log.setLogFilePath(path);
  log.clear();
  EXPECT_TRUE(folder.names().empty());
}

TEST_F(EventLogTest, KeepsTheOrderOfTheListInTheFileWhateverTheThreads) {
  constexpr int kWriters = 4;
  constexpr int kLinesEach = 1200;  // as many as the list keeps
  constexpr std::size_t kLines = kWriters * kLinesEach;
  log.setLogFilePath(path);
  std::promise<void> start;
  const std::shared_future<void> started = start.get_future().share();
  std::vector<std::thread> writers;
  for (int w = 0; w < kWriters; ++w) {
    writers.emplace_back([this, started, w] {
      started.wait();
      for (int i = 0; i < kLinesEach; ++i) {
        log.write(std::to_wstring(w) + L"/" + std::to_wstring(i));
      }
    });
  }
  start.set_value();
  for (auto& writer : writers) writer.join();

  const auto lines = log.takeNewLines();
  ASSERT_EQ(lines.size(), kLines);
  std::wstring expected;
  for (const auto& line : lines) expected += line + L"\r\n";
  EXPECT_TRUE(contentOf(folder.file(L"MonitorServer.log")) == utf16le(expected));
  EXPECT_EQ(std::set<std::wstring>(lines.begin(), lines.end()).size(), kLines);
  EXPECT_EQ(notifier.lineNotices, static_cast<int>(kLines));
}

TEST_F(EventLogTest, LosesAndRepeatsNoLineBetweenReadersAndAWriter) {
  constexpr int kLines = 4800;  // as many as the list keeps
  std::thread writer([this] { writeNumbered(1, kLines); });
  int looks = 0;
  int wrong = 0;
  Lines seen;
  EXPECT_TRUE(test::eventually([&] {
    // A view that opens gets all lines so far, an open one those that are new.
    const bool opens = ++looks % 4 == 1;
    if (opens) seen.clear();
    for (const auto& line : opens ? openedView(log, kLines) : log.takeNewLines()) {
      seen.push_back(messageOf(line));
    }
    if (!seen.empty() && seen.back() != std::to_wstring(seen.size())) ++wrong;
    return seen.size() >= kLines;
  }));
  writer.join();
  EXPECT_EQ(wrong, 0);
  Lines written;
  for (int i = 1; i <= kLines; ++i) written.push_back(std::to_wstring(i));
  EXPECT_TRUE(seen == written);
}

}  // namespace
}  // namespace quillgate
