#include "monitor/export_text.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "monitor/record_maker.h"
#include "monitor/traffic_monitor.h"
#include "tests/support/golden.h"
#include "tests/support/test_engine.h"

namespace quillgate {
namespace {

const std::string kByteOrderMark = "\xFF\xFE";
const std::wstring kLine(60, L'-');

std::string bytesOf(const std::vector<std::byte>& text) {
  return {reinterpret_cast<const char*>(text.data()), text.size()};
}

// UTF-16LE without pairs of units.
std::wstring decoded(const std::vector<std::byte>& text) {
  std::wstring result;
  for (std::size_t i = 0; i + 1 < text.size(); i += 2) {
    result += static_cast<wchar_t>(std::to_integer<unsigned>(text[i]) |
                                   std::to_integer<unsigned>(text[i + 1]) << 8);
  }
  return result;
}

// 2024-05-07 14:03:09.040 for the first record, and a millisecond more for each after it.
platform::LocalTime timeOf(std::size_t index) {
  return {2024, 5, 7, 14, 3, 9, static_cast<int>(40 + index % 960)};
}

void add(RecordList& list, std::wstring_view text, std::string_view payload = "") {
  static RecordMaker maker;
  static_cast<void>(list.append(maker.make(0, {.time = timeOf(list.size()),
                                               .text = text,
                                               .ending = {},
                                               .payload = std::as_bytes(std::span(payload))})));
}

RecordList sampleRecords() {
  RecordList list;
  add(list, L"[UDP] New client FROM 127.0.0.1:50001  local 5353 -> 192.0.2.1:53");
  add(list, L"[UDP] C->S  ", "question\r\nand a second line\tend");
  add(list, L"[UDP] S->C  (truncated)", std::string(64, 'x') + "\x80\xFF");
  add(list, L"[TCP] SESSION FROM 127.0.0.1:50002  local 80 -> m\u00FCller.example:80");
  add(list, L"[TCP] C->S FROM 127.0.0.1:50002  ", "32 bytes fill one line of values");
  return list;
}

TEST(ExportText, GivesTheGoldenFiles) {
  const RecordList records = sampleRecords();
  EXPECT_TRUE(test::matchesGolden(
      "export_all_ascii.txt",
      kByteOrderMark + bytesOf(buildExportText(records, kFilterAll, DumpFormat::ascii))));
  EXPECT_TRUE(
      test::matchesGolden("export_rule_hex.txt",
                          kByteOrderMark + bytesOf(buildExportText(records, 9, DumpFormat::hex))));
  EXPECT_TRUE(test::matchesGolden(
      "export_nothing.txt",
      kByteOrderMark + bytesOf(buildExportText({}, kFilterOff, DumpFormat::ascii))));
}

TEST(ExportText, NamesTheFilterInTheHeader) {
  const auto headerFor = [](std::int32_t filter) {
    return decoded(buildExportText({}, filter, DumpFormat::hex));
  };
  const std::wstring rest = L"\r\nItems:  0\r\n" + kLine + L"\r\n\r\n";
  const std::wstring start = L"Quillgate Monitor Export\r\nFormat: HEX\r\nFilter: ";
  EXPECT_EQ(headerFor(-2), start + L"None (monitoring off)" + rest);
  EXPECT_EQ(headerFor(-1), start + L"All" + rest);
  EXPECT_EQ(headerFor(-3), start + L"All" + rest);
  EXPECT_EQ(headerFor(0), start + L"Rule 1" + rest);
  EXPECT_EQ(headerFor(3), start + L"Rule 4" + rest);
  EXPECT_EQ(headerFor(9), start + L"Rule 10" + rest);
}

TEST(ExportText, HoldsEveryRecordInItsOrder) {
  RecordList list;
  std::wstring expected =
      L"Quillgate Monitor Export\r\nFormat: ASCII\r\nFilter: All\r\n"
      L"Items:  12000\r\n" +
      kLine + L"\r\n\r\n";
  for (int i = 0; i < 12000; ++i) {
    add(list, std::to_wstring(i), i % 2 == 0 ? "payload\n" : "");
    expected += renderRecord(list[list.size() - 1], DumpFormat::ascii);
  }
  EXPECT_TRUE(decoded(buildExportText(list, kFilterAll, DumpFormat::ascii)) == expected);
}

TEST(ExportText, TakesTheRoomItNeedsOnce) {
  const auto text = buildExportText(sampleRecords(), kFilterAll, DumpFormat::hex);
  EXPECT_EQ(text.capacity(), text.size());
}

class MonitorExport : public testing::Test {
 protected:
  [[nodiscard]] std::wstring exported(std::int32_t filter) const {
    return decoded(monitor.exportText(filter));
  }

  test::FakeNotifier notifier;
  TrafficMonitor monitor{notifier};
};

TEST_F(MonitorExport, CountsAndHoldsOnlyTheRecordsOfTheChosenRule) {
  monitor.choose(kFilterAll);
  monitor.captureEvent(3, L"first of rule 4");
  monitor.captureEvent(4, L"of rule 5");
  monitor.captureEvent(3, L"second of rule 4");
  const std::wstring text = exported(3);
  EXPECT_TRUE(text.starts_with(
      L"Quillgate Monitor Export\r\nFormat: ASCII\r\nFilter: Rule 4\r\nItems:  2\r\n"));
  EXPECT_NE(text.find(L"first of rule 4\r\n"), std::wstring::npos);
  EXPECT_TRUE(text.ends_with(L"second of rule 4\r\n"));
  EXPECT_EQ(text.find(L"of rule 5"), std::wstring::npos);
}

TEST_F(MonitorExport, HoldsWhatWasCapturedBeforeMonitoringWasSwitchedOff) {
  monitor.choose(kFilterAll);
  monitor.captureEvent(3, L"event");
  monitor.choose(kFilterOff);
  const std::wstring text = exported(kFilterOff);
  EXPECT_TRUE(
      text.starts_with(L"Quillgate Monitor Export\r\nFormat: ASCII\r\n"
                       L"Filter: None (monitoring off)\r\nItems:  1\r\n"));
  EXPECT_TRUE(text.ends_with(L"  event\r\n"));
}

TEST_F(MonitorExport, UsesTheFormatChosenNow) {
  monitor.choose(kFilterAll);
  monitor.capturePayload(0, L"[UDP] C->S  ", std::vector<std::byte>(1, std::byte{'A'}));
  EXPECT_NE(exported(kFilterAll).find(L"[UDP] C->S  \r\nA\r\n"), std::wstring::npos);
  monitor.setFormat(DumpFormat::hex);
  EXPECT_NE(exported(kFilterAll).find(L"[UDP] C->S  \r\n41 \r\n"), std::wstring::npos);
  EXPECT_NE(exported(kFilterAll).find(L"Format: HEX\r\n"), std::wstring::npos);
}

TEST_F(MonitorExport, IsNotLimitedToWhatTheViewShows) {
  monitor.choose(kFilterAll);
  for (int i = 0; i < 1000; ++i) monitor.captureEvent(0, L"event");
  const std::wstring text = exported(kFilterAll);
  EXPECT_EQ(std::ranges::count(text, L'\n'), 6 + 1000);
}

}  // namespace
}  // namespace quillgate
