#include "monitor/traffic_monitor.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <cstddef>
#include <future>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

#include "core/time_stamp.h"
#include "tests/support/test_engine.h"

namespace quillgate {
namespace {

using test::FakeNotifier;

constexpr std::wstring_view kHeader = L"[UDP] C->S  ";

std::vector<std::byte> countingBytes(std::size_t size) {
  std::vector<std::byte> bytes(size);
  for (std::size_t i = 0; i < size; ++i) bytes[i] = static_cast<std::byte>(i % 251);
  return bytes;
}

class TrafficMonitorTest : public testing::Test {
 protected:
  void captureEvents(std::uint32_t ruleIndex, std::size_t count) {
    for (std::size_t i = 0; i < count; ++i) monitor.captureEvent(ruleIndex, L"event");
  }
  [[nodiscard]] std::size_t sizeOf(std::int32_t filter) const {
    return monitor.snapshot(filter).size();
  }

  FakeNotifier notifier;
  TrafficMonitor monitor{notifier};
};

TEST_F(TrafficMonitorTest, StartsOffEmptyAndInAscii) {
  EXPECT_FALSE(monitor.isCapturing());
  EXPECT_EQ(monitor.filter(), -2);
  EXPECT_EQ(monitor.format(), DumpFormat::ascii);
  for (std::int32_t filter = -2; filter <= 9; ++filter) EXPECT_EQ(sizeOf(filter), 0U);
}

TEST_F(TrafficMonitorTest, ChangesAndPostsNothingWhileCapturingIsOff) {
  notifier.monitorOpen = true;
  monitor.captureEvent(0, L"event");
  monitor.capturePayload(0, kHeader, countingBytes(10));
  EXPECT_EQ(sizeOf(kFilterAll), 0U);
  EXPECT_EQ(sizeOf(0), 0U);
  EXPECT_EQ(notifier.recordNotices, 0);
}

TEST_F(TrafficMonitorTest, ShowsAndCapturesWhatWasChosen) {
  for (std::int32_t filter = -1; filter <= 9; ++filter) {
    monitor.choose(filter);
    EXPECT_EQ(monitor.filter(), filter);
    EXPECT_TRUE(monitor.isCapturing());
  }
  monitor.choose(-2);
  EXPECT_EQ(monitor.filter(), -2);
  EXPECT_FALSE(monitor.isCapturing());
}

TEST_F(TrafficMonitorTest, TakesAFilterThatNamesNothingAsOff) {
  for (const std::int32_t filter : {10, 0x7FFFFFFF, -3, -0x7FFFFFFF - 1}) {
    monitor.choose(3);
    monitor.choose(filter);
    EXPECT_EQ(monitor.filter(), kFilterOff);
    EXPECT_FALSE(monitor.isCapturing());
  }
}

TEST_F(TrafficMonitorTest, GivesAllRecordsForAFilterThatNamesNoRule) {
  monitor.choose(kFilterAll);
  captureEvents(9, 3);
  captureEvents(0, 2);
  EXPECT_EQ(sizeOf(9), 3U);
  for (const std::int32_t filter : {10, 0x7FFFFFFF, -3, -0x7FFFFFFF - 1}) {
    EXPECT_EQ(sizeOf(filter), 5U);
    EXPECT_EQ(monitor.takeForView(filter).records.size(), 5U);
    EXPECT_EQ(monitor.exportText(filter), monitor.exportText(kFilterAll));
  }
}

TEST_F(TrafficMonitorTest, RecordsAnEventWithoutAPayload) {
  monitor.choose(kFilterAll);
  monitor.captureEvent(3, L"[UDP] New client");
  const auto records = monitor.snapshot(kFilterAll);
  ASSERT_EQ(records.size(), 1U);
  EXPECT_EQ(records[0].text, L"[UDP] New client");
  EXPECT_TRUE(records[0].payload.empty());
}

TEST_F(TrafficMonitorTest, StampsEachRecordWithTheLocalTime) {
  monitor.choose(kFilterAll);
  const TimeStamp before(platform::localTime());
  monitor.captureEvent(0, L"event");
  const TimeStamp after(platform::localTime());
  const auto records = monitor.snapshot(kFilterAll);
  const std::wstring_view stamp = records[0].timestamp;
  EXPECT_EQ(stamp.size(), kTimeStampLength);
  EXPECT_LE(before.text(), stamp);
  EXPECT_LE(stamp, after.text());
}

TEST_F(TrafficMonitorTest, KeepsAPayloadOf4096BytesWhole) {
  monitor.choose(kFilterAll);
  const auto payload = countingBytes(4096);
  monitor.capturePayload(0, kHeader, payload);
  const auto records = monitor.snapshot(kFilterAll);
  EXPECT_TRUE(std::ranges::equal(records[0].payload, payload));
  EXPECT_EQ(records[0].text, L"[UDP] C->S  ");
}

TEST_F(TrafficMonitorTest, CutsAPayloadOf4097BytesAndSaysSoRightAfterTheHeader) {
  monitor.choose(kFilterAll);
  monitor.capturePayload(0, kHeader, countingBytes(4097));
  const auto records = monitor.snapshot(kFilterAll);
  EXPECT_TRUE(std::ranges::equal(records[0].payload, countingBytes(4096)));
  EXPECT_EQ(records[0].text, L"[UDP] C->S  (truncated)");
}

TEST_F(TrafficMonitorTest, RecordsAnEmptyPayloadLikeAnEvent) {
  monitor.choose(kFilterAll);
  monitor.capturePayload(0, kHeader, {});
  const auto records = monitor.snapshot(kFilterAll);
  ASSERT_EQ(records.size(), 1U);
  EXPECT_EQ(records[0].text, L"[UDP] C->S  ");
  EXPECT_TRUE(records[0].payload.empty());
}

TEST_F(TrafficMonitorTest, FilesARecordUnderItsRuleAndUnderAll) {
  monitor.choose(7);  // what is shown does not matter to what is kept
  for (std::uint32_t rule = 0; rule < 10; ++rule) captureEvents(rule, rule + 1);
  for (std::int32_t rule = 0; rule < 10; ++rule) {
    EXPECT_EQ(sizeOf(rule), static_cast<std::size_t>(rule) + 1);
  }
  EXPECT_EQ(sizeOf(kFilterAll), 55U);
  EXPECT_EQ(sizeOf(kFilterOff), 55U);
}

TEST_F(TrafficMonitorTest, FilesARecordOfNoRuleOnlyUnderAll) {
  monitor.choose(kFilterAll);
  for (const std::uint32_t index : {10U, 11U, 0x7FFFFFFFU, 0xFFFFFFFFU}) {
    monitor.captureEvent(index, L"event");
    monitor.capturePayload(index, kHeader, countingBytes(1));
  }
  EXPECT_EQ(sizeOf(kFilterAll), 8U);
  for (std::int32_t rule = 0; rule < 10; ++rule) EXPECT_EQ(sizeOf(rule), 0U);
}

TEST_F(TrafficMonitorTest, BringsAllRecordsDownTo45001WithThe50001st) {
  monitor.choose(kFilterAll);
  for (int i = 1; i <= 50001; ++i) monitor.captureEvent(10, std::to_wstring(i));
  const auto records = monitor.snapshot(kFilterAll);
  ASSERT_EQ(records.size(), 45001U);
  EXPECT_EQ(records[0].text, L"5001");
  EXPECT_EQ(records[45000].text, L"50001");
}

TEST_F(TrafficMonitorTest, TrimsARulesListIndependently) {
  monitor.choose(kFilterAll);
  captureEvents(4, 30000);
  captureEvents(5, 20001);
  EXPECT_EQ(sizeOf(kFilterAll), 45001U);
  EXPECT_EQ(sizeOf(4), 30000U);
  captureEvents(4, 20001);
  EXPECT_EQ(sizeOf(4), 45001U);
  EXPECT_EQ(sizeOf(5), 20001U);
}

TEST_F(TrafficMonitorTest, HandsOutEachRecordAsNewOncePerList) {
  monitor.choose(kFilterAll);
  captureEvents(2, 3);
  EXPECT_EQ(monitor.takeForView(kFilterAll).firstNew, 0U);
  EXPECT_EQ(monitor.takeForView(kFilterAll).firstNew, 3U);
  captureEvents(2, 2);
  const auto all = monitor.takeForView(kFilterAll);
  EXPECT_EQ(all.firstNew, 3U);
  EXPECT_EQ(all.records.size(), 5U);
  const auto ofRule = monitor.takeForView(2);
  EXPECT_EQ(ofRule.firstNew, 0U);
  EXPECT_EQ(ofRule.records.size(), 5U);
}

TEST_F(TrafficMonitorTest, LowersTheShownCounterByWhatATrimDrops) {
  monitor.choose(kFilterAll);
  captureEvents(6, 50000);
  EXPECT_EQ(monitor.takeForView(kFilterAll).records.size(), 50000U);
  EXPECT_EQ(monitor.takeForView(6).records.size(), 50000U);
  captureEvents(6, 1);
  for (const std::int32_t filter : {kFilterAll, 6}) {
    const auto toShow = monitor.takeForView(filter);
    EXPECT_EQ(toShow.firstNew, 45000U);
    EXPECT_EQ(toShow.records.size(), 45001U);
  }
}

TEST_F(TrafficMonitorTest, LowersTheShownCounterToNoLessThanZero) {
  monitor.choose(kFilterAll);
  captureEvents(6, 3000);
  EXPECT_EQ(monitor.takeForView(kFilterAll).records.size(), 3000U);
  EXPECT_EQ(monitor.takeForView(6).records.size(), 3000U);
  captureEvents(6, 47001);
  for (const std::int32_t filter : {kFilterAll, 6}) {
    const auto toShow = monitor.takeForView(filter);
    EXPECT_EQ(toShow.firstNew, 0U);
    EXPECT_EQ(toShow.records.size(), 45001U);
  }
}

TEST_F(TrafficMonitorTest, ForgetsRecordsAndShownCountersWhenCleared) {
  monitor.choose(kFilterAll);
  captureEvents(1, 5);
  static_cast<void>(monitor.takeForView(kFilterAll));
  static_cast<void>(monitor.takeForView(1));

  monitor.clearAll();

  for (std::int32_t filter = -2; filter <= 9; ++filter) EXPECT_EQ(sizeOf(filter), 0U);
  EXPECT_TRUE(monitor.isCapturing());
  captureEvents(1, 2);
  for (const std::int32_t filter : {kFilterAll, 1}) {
    const auto toShow = monitor.takeForView(filter);
    EXPECT_EQ(toShow.firstNew, 0U);
    EXPECT_EQ(toShow.records.size(), 2U);
  }
}

TEST_F(TrafficMonitorTest, KeepsWhatASnapshotShowsWhileItIsTrimmedAndCleared) {
  monitor.choose(kFilterAll);
  const auto payload = countingBytes(4096);
  for (int i = 0; i < 20000; ++i) monitor.capturePayload(3, std::to_wstring(i), payload);
  const auto records = monitor.snapshot(3);
  for (int i = 0; i < 55000; ++i) monitor.captureEvent(3, L"later");
  monitor.clearAll();
  for (int i = 0; i < 5000; ++i) monitor.capturePayload(3, L"last", countingBytes(100));
  ASSERT_EQ(records.size(), 20000U);
  for (std::size_t i = 0; i < records.size(); ++i) {
    ASSERT_EQ(records[i].text, std::to_wstring(i));
    ASSERT_TRUE(std::ranges::equal(records[i].payload, payload));
  }
}

TEST_F(TrafficMonitorTest, UsesTheMemoryOfClearedRecordsAgain) {
  monitor.choose(kFilterAll);
  monitor.capturePayload(0, kHeader, countingBytes(1));
  const std::byte* const data = monitor.snapshot(0)[0].payload.data();
  monitor.clearAll();
  monitor.capturePayload(0, kHeader, countingBytes(1));
  EXPECT_EQ(monitor.snapshot(0)[0].payload.data(), data);
}

TEST_F(TrafficMonitorTest, KeepsCapturingWithoutNoticesWhileNoMonitorIsOpen) {
  monitor.choose(kFilterAll);
  captureEvents(0, 2);
  EXPECT_EQ(sizeOf(kFilterAll), 2U);
  EXPECT_EQ(notifier.recordNotices, 0);

  notifier.monitorOpen = true;  // the captures before have not asked for anything
  captureEvents(0, 1);
  EXPECT_EQ(notifier.recordNotices, 1);
}

TEST_F(TrafficMonitorTest, PostsANoticeWhenTheRecordIsThereAndTheLockIsFree) {
  monitor.choose(kFilterAll);
  notifier.monitorOpen = true;
  std::future<std::size_t> size;
  notifier.onRecords = [&] {
    size = std::async(std::launch::async, [&] { return sizeOf(kFilterAll); });
    EXPECT_EQ(size.wait_for(test::kDeadline), std::future_status::ready);
  };
  captureEvents(0, 1);
  ASSERT_TRUE(size.valid());
  EXPECT_EQ(size.get(), 1U);
}

TEST_F(TrafficMonitorTest, PostsOneNoticeForManyCaptures) {
  monitor.choose(kFilterAll);
  notifier.monitorOpen = true;
  monitor.captureEvent(0, L"event");
  monitor.capturePayload(0, kHeader, countingBytes(1));
  captureEvents(0, 100);
  EXPECT_EQ(notifier.recordNotices, 1);

  monitor.beginRefresh();
  captureEvents(0, 2);
  EXPECT_EQ(notifier.recordNotices, 2);
}

TEST_F(TrafficMonitorTest, DoesNotAskForAMonitorWhileANoticeIsUnderWay) {
  monitor.choose(kFilterAll);
  notifier.monitorOpen = true;
  captureEvents(0, 100);
  EXPECT_EQ(notifier.monitorQuestions, 1);
  monitor.beginRefresh();
  captureEvents(0, 100);
  EXPECT_EQ(notifier.monitorQuestions, 2);
}

TEST_F(TrafficMonitorTest, AsksAgainAfterANoticeThatWasNotDelivered) {
  monitor.choose(kFilterAll);
  notifier.monitorOpen = true;
  notifier.delivers = false;
  captureEvents(0, 1);
  EXPECT_EQ(notifier.recordNotices, 1);

  notifier.delivers = true;
  captureEvents(0, 2);
  EXPECT_EQ(notifier.recordNotices, 2);
}

// Takes what is new. The records of each writer must come whole, in their order and once.
class Reader {
 public:
  explicit Reader(TrafficMonitor& monitor) : monitor_(monitor) {}

  // A record whose text is the number of its writer, as one digit, and its own number.
  static std::wstring textOf(std::size_t writer, std::size_t number) {
    return std::to_wstring(writer) + L" " + std::to_wstring(number);
  }

  void takeNew(std::int32_t filter) {
    const auto toShow = monitor_.takeForView(filter);
    ASSERT_LE(toShow.firstNew, toShow.records.size());
    for (std::size_t i = toShow.firstNew; i < toShow.records.size(); ++i) {
      const MonitorRecord& record = toShow.records[i];
      const auto writer = static_cast<std::size_t>(record.text.at(0) - L'0');
      ASSERT_EQ(record.text, textOf(writer, takenOf_.at(writer)++));
      ASSERT_EQ(record.payload.size(), 100U);
    }
  }
  [[nodiscard]] std::size_t takenOf(std::size_t writer) const { return takenOf_.at(writer); }

 private:
  TrafficMonitor& monitor_;
  std::array<std::size_t, 4> takenOf_{};
};

TEST_F(TrafficMonitorTest, LosesNoRecordBetweenWritersAndAReader) {
  constexpr std::size_t kWriters = 4;
  constexpr std::size_t kRecordsOfEach = 10000;
  monitor.choose(kFilterAll);
  notifier.monitorOpen = true;
  std::atomic<std::size_t> writing{kWriters};
  std::vector<std::jthread> writers;
  for (std::uint32_t writer = 0; writer < kWriters; ++writer) {
    writers.emplace_back([&, writer] {
      const auto payload = countingBytes(100);
      for (std::size_t i = 0; i < kRecordsOfEach; ++i) {
        monitor.capturePayload(writer, Reader::textOf(writer, i), payload);
      }
      --writing;
    });
  }
  Reader all(monitor);
  Reader ofRule(monitor);
  while (writing > 0) {
    monitor.beginRefresh();
    all.takeNew(kFilterAll);
    ofRule.takeNew(2);
  }
  writers.clear();  // waits for them
  all.takeNew(kFilterAll);
  ofRule.takeNew(2);
  for (std::size_t writer = 0; writer < kWriters; ++writer) {
    EXPECT_EQ(all.takenOf(writer), kRecordsOfEach);
    EXPECT_EQ(ofRule.takenOf(writer), writer == 2 ? kRecordsOfEach : 0);
  }
  EXPECT_GE(notifier.recordNotices, 1);
}

TEST_F(TrafficMonitorTest, StaysWholeWhileItIsFilledTrimmedAndRead) {
  constexpr std::size_t kWriters = 3;
  constexpr std::size_t kRecordsOfEach = 40000;
  monitor.choose(kFilterAll);
  std::atomic<std::size_t> writing{kWriters};
  std::vector<std::jthread> writers;
  for (std::uint32_t writer = 0; writer < kWriters; ++writer) {
    writers.emplace_back([&, writer] {
      for (std::size_t i = 0; i < kRecordsOfEach; ++i) {
        monitor.captureEvent(writer, std::to_wstring(writer));
      }
      --writing;
    });
  }
  std::size_t largest = 0;
  do {
    const auto records = monitor.snapshot(1);
    largest = std::max({largest, records.size(), sizeOf(kFilterAll)});
    for (std::size_t i = 0; i < records.size(); ++i) ASSERT_EQ(records[i].text, L"1");
  } while (writing > 0);
  writers.clear();  // waits for them
  EXPECT_LE(largest, 50000U);
}

TEST_F(TrafficMonitorTest, StaysWholeWhileItIsExportedAndCleared) {
  monitor.choose(kFilterAll);
  std::jthread writer([&](const std::stop_token& ended) {
    while (!ended.stop_requested()) monitor.captureEvent(1, L"event");
  });
  for (int round = 0; round < 20; ++round) {
    EXPECT_TRUE(test::eventually([&] { return sizeOf(1) > 2000; }));
    EXPECT_FALSE(monitor.exportText(1).empty());
    monitor.clearAll();
  }
}

}  // namespace
}  // namespace quillgate
