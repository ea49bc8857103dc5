#include "monitor/record_maker.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstddef>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "tests/support/bytes.h"

namespace quillgate {
namespace {

Capture capture(std::wstring_view text, std::string_view payload = {}) {
  return {.time = {2024, 5, 7, 14, 3, 9, 42},
          .text = text,
          .ending = {},
          .payload = test::bytesOf(payload)};
}

bool shareSlab(const SharedRecord& a, const SharedRecord& b) {
  return !a.owner_before(b) && !b.owner_before(a);
}

TEST(RecordMaker, PutsRecordsOfARuleTogetherAndThoseOfNoRule) {
  RecordMaker maker;
  const SharedRecord ofRule = maker.make(3, capture(L"a"));
  const SharedRecord ofAnotherRule = maker.make(9, capture(L"b"));
  const SharedRecord ofNoRule = maker.make(10, capture(L"c"));
  EXPECT_TRUE(shareSlab(ofRule, maker.make(3, capture(L"d"))));
  EXPECT_TRUE(shareSlab(ofAnotherRule, maker.make(9, capture(L"e"))));
  EXPECT_TRUE(shareSlab(ofNoRule, maker.make(0xFFFFFFFF, capture(L"f"))));
  EXPECT_FALSE(shareSlab(ofRule, ofAnotherRule));
  EXPECT_FALSE(shareSlab(ofAnotherRule, ofNoRule));
}

TEST(RecordMaker, GoesOnInANewSlabWhenOneIsFull) {
  RecordMaker maker;
  const std::string payload(kSlabBytes / 4, 'x');
  std::vector<SharedRecord> records;
  for (int i = 0; i < 12; ++i)
    records.push_back(maker.make(0, capture(std::to_wstring(i), payload)));
  EXPECT_FALSE(shareSlab(records.front(), records.back()));
  for (std::size_t i = 0; i < records.size(); ++i) {
    EXPECT_EQ(records[i]->text, std::to_wstring(i));
    EXPECT_TRUE(std::ranges::equal(records[i]->payload, test::bytesOf(payload)));
  }
}

TEST(RecordMaker, KeepsARecordTooLargeForASlab) {
  RecordMaker maker;
  const std::wstring text(kSlabBytes, L'x');
  EXPECT_TRUE(maker.make(0, capture(text))->text == text);
  EXPECT_EQ(maker.make(0, capture(L"next"))->text, L"next");
}

TEST(RecordMaker, HoldsNoRecordAfterAStartAnew) {
  RecordMaker maker;
  const std::weak_ptr<const MonitorRecord> record = maker.make(0, capture(L"a"));
  EXPECT_FALSE(record.expired());
  maker.startAnew();
  EXPECT_TRUE(record.expired());
}

TEST(RecordMaker, KeepsRecordsOfManyThreadsForOneRuleWhole) {
  constexpr std::size_t kThreads = 4;
  constexpr std::size_t kRecordsOfEach = 20000;
  RecordMaker maker;
  std::vector<std::vector<SharedRecord>> recordsOf(kThreads);
  {
    std::vector<std::jthread> threads;
    for (std::size_t thread = 0; thread < kThreads; ++thread) {
      threads.emplace_back([&, thread] {
        const std::string payload(500, static_cast<char>('0' + thread));
        for (std::size_t i = 0; i < kRecordsOfEach; ++i) {
          recordsOf[thread].push_back(maker.make(0, capture(std::to_wstring(i), payload)));
        }
      });
    }
  }
  for (std::size_t thread = 0; thread < kThreads; ++thread) {
    const std::string payload(500, static_cast<char>('0' + thread));
    for (std::size_t i = 0; i < kRecordsOfEach; ++i) {
      ASSERT_EQ(recordsOf[thread][i]->text, std::to_wstring(i));
      ASSERT_TRUE(std::ranges::equal(recordsOf[thread][i]->payload, test::bytesOf(payload)));
    }
  }
}

}  // namespace
}  // namespace quillgate
