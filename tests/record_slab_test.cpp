#include "monitor/record_slab.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "tests/support/bytes.h"

namespace quillgate {
namespace {

using test::bytesOf;

Capture capture(std::wstring_view text, std::string_view payload, int millisecond = 42) {
  return {.time = {2024, 5, 7, 14, 3, 9, millisecond},
          .text = text,
          .ending = {},
          .payload = bytesOf(payload)};
}

class RecordSlabTest : public testing::Test {
 protected:
  [[nodiscard]] std::shared_ptr<RecordSlab> slabFor(const Capture& first) const {
    return std::make_shared<RecordSlab>(pool, first);
  }

  const std::shared_ptr<SlabPool> pool = std::make_shared<SlabPool>();
};

TEST_F(RecordSlabTest, KeepsWhatWasCaptured) {
  std::string payload = "payload";
  std::wstring text = L"text";
  const auto slab = slabFor(capture(text, payload));
  const MonitorRecord& record = *slab->add(capture(text, payload));
  payload = "other..";
  text = L"none";
  EXPECT_EQ(record.timestamp, L"2024-05-07 14:03:09.042  ");
  EXPECT_EQ(record.text, L"text");
  EXPECT_TRUE(std::ranges::equal(record.payload, bytesOf("payload")));
}

TEST_F(RecordSlabTest, PutsTheEndingAfterTheText) {
  Capture cut = capture(L"text  ", "");
  cut.ending = L"(truncated)";
  const auto slab = slabFor(cut);
  EXPECT_EQ(slab->add(cut)->text, L"text  (truncated)");
  EXPECT_EQ(slab->add(capture(L"text  ", ""))->text, L"text  ");
  EXPECT_EQ(slab->add(cut)->text, L"text  (truncated)");
  cut.ending = L"(truncateD)";
  EXPECT_EQ(slab->add(cut)->text, L"text  (truncateD)");
}

TEST_F(RecordSlabTest, StampsEachRecordWithItsOwnTime) {
  const auto slab = slabFor(capture(L"", ""));
  EXPECT_EQ(slab->add(capture(L"", "", 1))->timestamp, L"2024-05-07 14:03:09.001  ");
  EXPECT_EQ(slab->add(capture(L"", "", 1))->timestamp, L"2024-05-07 14:03:09.001  ");
  EXPECT_EQ(slab->add(capture(L"", "", 2))->timestamp, L"2024-05-07 14:03:09.002  ");
  EXPECT_EQ(slab->add(capture(L"", "", 1))->timestamp, L"2024-05-07 14:03:09.001  ");
  Capture dayLater = capture(L"", "", 1);
  dayLater.time.day = 8;
  EXPECT_EQ(slab->add(dayLater)->timestamp, L"2024-05-08 14:03:09.001  ");
}

TEST_F(RecordSlabTest, HoldsTextsThatFollowOneAnotherOnce) {
  const auto slab = slabFor(capture(L"", ""));
  const MonitorRecord* first = slab->add(capture(L"one", "a"));
  const MonitorRecord* second = slab->add(capture(L"one", "b"));
  EXPECT_EQ(second->text.data(), first->text.data());
  EXPECT_EQ(second->timestamp.data(), first->timestamp.data());
  EXPECT_EQ(slab->add(capture(L"two", ""))->text, L"two");
  EXPECT_EQ(slab->add(capture(L"one", ""))->text, L"one");
  EXPECT_EQ(slab->add(capture(L"on", ""))->text, L"on");
}

TEST_F(RecordSlabTest, AlignsPayloadsToCacheLines) {
  const auto slab = slabFor(capture(L"", ""));
  for (const char* payload : {"a", "bc", "def"}) {
    const auto* data = slab->add(capture(L"text", payload))->payload.data();
    EXPECT_EQ(reinterpret_cast<std::uintptr_t>(data) % 64, 0U);
  }
}

TEST_F(RecordSlabTest, TakesNoMoreThanItHasRoomForAndDamagesNone) {
  const std::string payload(1000, 'x');
  const auto slab = slabFor(capture(L"", ""));
  std::vector<const MonitorRecord*> records;
  std::vector<std::wstring> texts;
  for (int i = 0;; ++i) {
    texts.push_back(std::to_wstring(i));
    const MonitorRecord* record = slab->add(capture(texts.back(), payload, i % 1000));
    if (record == nullptr) break;
    records.push_back(record);
  }
  EXPECT_GT(records.size(), 200U);
  EXPECT_LT(records.size(), 262U);
  for (std::size_t i = 0; i < records.size(); ++i) {
    ASSERT_EQ(records[i]->text, texts[i]);
    ASSERT_TRUE(std::ranges::equal(records[i]->payload, bytesOf(payload)));
  }
}

// A processor copies by lines and parts of lines, which may begin anywhere in a buffer.
TEST_F(RecordSlabTest, KeepsPayloadsOfAnySizeFromAnywhereToTheByte) {
  std::string buffer;
  for (int i = 0; buffer.size() < kMaxPayloadBytes + 64; ++i) buffer += static_cast<char>(i % 251);
  std::vector<std::string_view> payloads;
  for (std::size_t size = 1; size <= kMaxPayloadBytes; size += size < 1200 ? 1 : 13)
    payloads.push_back(std::string_view(buffer).substr(size % 64, size));
  payloads.push_back(std::string_view(buffer).substr(1, kMaxPayloadBytes));

  std::vector<std::shared_ptr<RecordSlab>> slabs = {slabFor(capture(L"", ""))};
  std::vector<const MonitorRecord*> records;
  for (const std::string_view payload : payloads) {
    const Capture next = capture(L"text", payload);
    const MonitorRecord* record = slabs.back()->add(next);
    if (record == nullptr) record = slabs.emplace_back(slabFor(next))->add(next);
    records.push_back(record);
  }
  for (std::size_t i = 0; i < records.size(); ++i)
    ASSERT_TRUE(std::ranges::equal(records[i]->payload, bytesOf(payloads[i]))) << i;
}

TEST_F(RecordSlabTest, HasRoomForAnyFirstRecord) {
  const std::wstring text(kSlabBytes, L'x');
  const auto slab = slabFor(capture(text, "payload"));
  const MonitorRecord* record = slab->add(capture(text, "payload"));
  ASSERT_NE(record, nullptr);
  EXPECT_TRUE(record->text == text);
  EXPECT_EQ(slab->add(capture(text, "payload")), nullptr);
}

// The memory of a slab that goes is that of the next one.
TEST_F(RecordSlabTest, LeavesItsMemoryToTheNextSlab) {
  const Capture first = capture(L"text", "payload");
  const std::byte* data = slabFor(first)->add(first)->payload.data();
  EXPECT_EQ(slabFor(first)->add(first)->payload.data(), data);
}

// How many of `taken` pieces of memory a pool keeps that gets all but `left` back.
std::size_t keptOf(std::size_t taken, std::size_t left) {
  SlabPool pool;
  std::vector<SlabPool::Memory> memory;
  for (std::size_t i = 0; i < taken; ++i) memory.push_back(pool.take());
  while (memory.size() > left) {
    pool.giveBack(std::move(memory.back()));
    memory.pop_back();
  }
  return pool.spare();
}

TEST(SlabPool, KeepsATenthThatComesBackAtOnce) {
  for (const std::size_t slabs : {10U, 60U, 1000U})
    EXPECT_EQ(keptOf(slabs, slabs - slabs / 10), slabs / 10);
}

TEST(SlabPool, KeepsOneOfAllThatComesBack) { EXPECT_EQ(keptOf(1000, 0), 1U); }

TEST(SlabPool, KeepsNoMoreThanAnEighthOfWhatIsInUseAndOne) { EXPECT_EQ(keptOf(1000, 80), 11U); }

}  // namespace
}  // namespace quillgate
