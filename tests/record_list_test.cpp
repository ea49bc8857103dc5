#include "monitor/record_list.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <memory>
#include <string>
#include <vector>

#include "monitor/record_maker.h"

namespace quillgate {
namespace {

SharedRecord numbered(std::size_t number) {
  static RecordMaker maker;
  const std::wstring text = std::to_wstring(number);
  return maker.make(0, {.time = {}, .text = text, .ending = {}, .payload = {}});
}

// Appends the records `first` to `last`; returns how many appends trimmed.
std::size_t appendNumbered(RecordList& list, std::size_t first, std::size_t last) {
  std::size_t trims = 0;
  for (std::size_t number = first; number <= last; ++number) {
    if (list.append(numbered(number))) ++trims;
  }
  return trims;
}

TEST(RecordList, StartsEmpty) {
  const RecordList list;
  EXPECT_EQ(list.size(), 0U);
  EXPECT_EQ(list.snapshot().size(), 0U);
}

TEST(RecordList, KeepsRecordsInTheirOrder) {
  RecordList list;
  EXPECT_EQ(appendNumbered(list, 1, 12001), 0U);
  ASSERT_EQ(list.size(), 12001U);
  for (std::size_t i = 0; i < list.size(); ++i) {
    ASSERT_EQ(list[i].text, std::to_wstring(i + 1));
  }
}

TEST(RecordList, HoldsItsLimitWithoutTrimming) {
  RecordList list;
  EXPECT_EQ(appendNumbered(list, 1, 50000), 0U);
  EXPECT_EQ(list.size(), 50000U);
  EXPECT_EQ(list[0].text, L"1");
}

TEST(RecordList, TrimsTheOldest5000WhenOneMoreThan50000Come) {
  RecordList list;
  appendNumbered(list, 1, 50000);

  const RecordList::SharedBlock trimmed = list.append(numbered(50001));

  ASSERT_NE(trimmed, nullptr);
  EXPECT_EQ(trimmed->records.front()->text, L"1");
  EXPECT_EQ(trimmed->records.back()->text, L"5000");
  ASSERT_EQ(list.size(), 45001U);
  for (std::size_t i = 0; i < list.size(); ++i) {
    ASSERT_EQ(list[i].text, std::to_wstring(i + 5001));
  }
}

TEST(RecordList, TrimsAgainOnlyAfter5000More) {
  RecordList list;
  EXPECT_EQ(appendNumbered(list, 1, 55000), 1U);
  EXPECT_EQ(list.size(), 50000U);
  EXPECT_EQ(appendNumbered(list, 55001, 55001), 1U);
  EXPECT_EQ(list.size(), 45001U);
  EXPECT_EQ(list[0].text, L"10001");
  EXPECT_EQ(list[45000].text, L"55001");
}

TEST(RecordList, ForgetsTrimmedRecordsWhenTheirBlockGoes) {
  RecordList list;
  const std::weak_ptr<const MonitorRecord> oldest = [&] {
    const auto record = std::make_shared<const MonitorRecord>();
    static_cast<void>(list.append(record));
    return std::weak_ptr(record);
  }();
  appendNumbered(list, 2, 50000);
  EXPECT_FALSE(oldest.expired());
  {
    const RecordList::SharedBlock trimmed = list.append(numbered(50001));
    EXPECT_FALSE(oldest.expired());
  }
  EXPECT_TRUE(oldest.expired());
}

TEST(RecordList, CountsTheOwnerOfRecordsThatComeSoonAfterOneAnotherOnce) {
  const auto records = std::make_shared<const std::array<MonitorRecord, 3>>();
  const auto other = std::make_shared<const MonitorRecord>();
  RecordList list;
  for (const MonitorRecord& record : *records) {
    static_cast<void>(list.append(SharedRecord(records, &record)));
    static_cast<void>(list.append(other));
  }
  EXPECT_EQ(records.use_count(), 2);
  EXPECT_EQ(other.use_count(), 2);
}

TEST(RecordList, KeepsTheOwnersOfAllItsRecords) {
  std::vector<std::weak_ptr<const MonitorRecord>> records;
  RecordList list;
  for (int i = 0; i < 100; ++i) {
    const auto record = std::make_shared<const MonitorRecord>();
    records.emplace_back(record);
    static_cast<void>(list.append(record));
  }
  EXPECT_TRUE(std::ranges::none_of(records, [](const auto& record) { return record.expired(); }));
  list = {};
  EXPECT_TRUE(std::ranges::all_of(records, [](const auto& record) { return record.expired(); }));
}

TEST(RecordListSnapshot, StaysAsItWasWhileTheListGrows) {
  RecordList list;
  appendNumbered(list, 1, 3);
  const RecordList::Snapshot snapshot = list.snapshot();
  appendNumbered(list, 4, 6000);
  ASSERT_EQ(snapshot.size(), 3U);
  EXPECT_EQ(snapshot[0].text, L"1");
  EXPECT_EQ(snapshot[2].text, L"3");
}

TEST(RecordListSnapshot, StaysAsItWasWhileTheListIsTrimmed) {
  RecordList list;
  appendNumbered(list, 1, 50000);
  const RecordList::Snapshot snapshot = list.snapshot();
  EXPECT_EQ(appendNumbered(list, 50001, 60000), 2U);
  ASSERT_EQ(snapshot.size(), 50000U);
  for (std::size_t i = 0; i < snapshot.size(); ++i) {
    ASSERT_EQ(snapshot[i].text, std::to_wstring(i + 1));
  }
}

TEST(RecordListSnapshot, OutlivesTheList) {
  auto list = std::make_unique<RecordList>();
  appendNumbered(*list, 1, 5001);
  const RecordList::Snapshot snapshot = list->snapshot();
  list.reset();
  EXPECT_EQ(snapshot[0].text, L"1");
  EXPECT_EQ(snapshot[5000].text, L"5001");
}

}  // namespace
}  // namespace quillgate
