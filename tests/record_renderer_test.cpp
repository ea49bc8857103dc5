#include "monitor/record_renderer.h"

#include <gtest/gtest.h>

#include <initializer_list>
#include <string>
#include <string_view>
#include <vector>

#include "core/text.h"
#include "tests/support/golden.h"

namespace quillgate {
namespace {

std::vector<std::byte> bytes(std::initializer_list<int> values) {
  std::vector<std::byte> result;
  for (const int value : values) result.push_back(static_cast<std::byte>(value));
  return result;
}

// Each byte value once, in order.
std::vector<std::byte> everyByte() {
  std::vector<std::byte> result;
  for (int value = 0; value < 256; ++value) result.push_back(static_cast<std::byte>(value));
  return result;
}

std::wstring repeated(std::wstring_view text, std::size_t times) {
  std::wstring result;
  for (std::size_t i = 0; i < times; ++i) result += text;
  return result;
}

std::string narrow(std::wstring_view text) {
  std::string result;
  for (const wchar_t c : text) {
    EXPECT_LT(static_cast<unsigned>(c), 128U);
    result += static_cast<char>(c);
  }
  return result;
}

TEST(RenderHex, KeepsTheBlankAfterTheLastByteOfAPartialLine) {
  EXPECT_EQ(renderHex(bytes({0xAB})), L"AB \r\n");
  EXPECT_EQ(renderHex(bytes({0x00, 0x0F, 0xF0})), L"00 0F F0 \r\n");
}

TEST(RenderHex, EndsAFullLineWithoutABlankAndAddsAnEmptyLine) {
  const std::vector<std::byte> payload(32, std::byte{0x41});
  EXPECT_EQ(renderHex(payload), repeated(L"41 ", 31) + L"41\r\n\r\n");
}

TEST(RenderHex, StartsASecondLineWithTheByte33) {
  const std::vector<std::byte> payload(33, std::byte{0x41});
  EXPECT_EQ(renderHex(payload), repeated(L"41 ", 31) + L"41\r\n41 \r\n");
}

TEST(RenderHex, EndsTwoFullLinesWithOneEmptyLine) {
  const std::wstring line = repeated(L"FF ", 31) + L"FF\r\n";
  EXPECT_EQ(renderHex(std::vector<std::byte>(64, std::byte{0xFF})), line + line + L"\r\n");
}

TEST(RenderHex, IsALineBreakForNoBytes) { EXPECT_EQ(renderHex({}), L"\r\n"); }

TEST(RenderAscii, BreaksLinesAtLineFeedsAndShowsTheUnprintableAsDots) {
  EXPECT_EQ(renderAscii(bytes({0x41, 0x0D, 0x0A, 0x42, 0x09})), L"A\r\nB.\r\n");
}

TEST(RenderAscii, DropsCarriageReturns) {
  EXPECT_EQ(renderAscii(bytes({'\r', 'a', '\r', '\r', 'b', '\r'})), L"ab\r\n");
}

TEST(RenderAscii, BreaksTheLineForALineFeedAlone) {
  EXPECT_EQ(renderAscii(bytes({'\n', 'a', '\n', '\n'})), L"\r\na\r\n\r\n\r\n");
}

TEST(RenderAscii, ShowsOnlyBlankToTildeAsTheyAre) {
  EXPECT_EQ(renderAscii(bytes({31, 32, 33, 125, 126, 127, 128, 255, 0})), L". !}~....\r\n");
}

TEST(RenderAscii, HasNoLimitForALine) {
  EXPECT_EQ(renderAscii(std::vector<std::byte>(4096, std::byte{'x'})),
            std::wstring(4096, L'x') + L"\r\n");
}

TEST(RenderAscii, IsALineBreakForNoBytes) { EXPECT_EQ(renderAscii({}), L"\r\n"); }

TEST(RenderDumps, GiveTheGoldenTextsForEveryByte) {
  EXPECT_TRUE(test::matchesGolden("every_byte_hex.txt", narrow(renderHex(everyByte()))));
  EXPECT_TRUE(test::matchesGolden("every_byte_ascii.txt", narrow(renderAscii(everyByte()))));
}

TEST(RenderRecord, GivesAnEventOneLine) {
  const MonitorRecord record{L"2024-05-07 14:03:09.042  ", L"[UDP] New client", {}};
  for (const DumpFormat format : {DumpFormat::hex, DumpFormat::ascii}) {
    EXPECT_EQ(renderRecord(record, format), L"2024-05-07 14:03:09.042  [UDP] New client\r\n");
  }
}

TEST(RenderRecord, PutsThePayloadAfterTheHeaderLine) {
  const std::vector<std::byte> payload = bytes({'h', 'i', '\n'});
  const MonitorRecord record{L"2024-05-07 14:03:09.042  ", L"[UDP] C->S  ", payload};
  EXPECT_EQ(renderRecord(record, DumpFormat::ascii),
            L"2024-05-07 14:03:09.042  [UDP] C->S  \r\nhi\r\n\r\n");
  EXPECT_EQ(renderRecord(record, DumpFormat::hex),
            L"2024-05-07 14:03:09.042  [UDP] C->S  \r\n68 69 0A \r\n");
}

TEST(RenderRecord, KeepsAnyTextAsItIs) {
  const MonitorRecord record{L"", L"a\nb\r\n\u00E4\u20AC\t", {}};
  EXPECT_EQ(renderRecord(record, DumpFormat::ascii), L"a\nb\r\n\u00E4\u20AC\t\r\n");
}

TEST(AppendRecordUtf16le, AppendsTheRenderedRecord) {
  for (const auto& payload : {std::vector<std::byte>(), everyByte()}) {
    const MonitorRecord record{L"stamp  ", L"t\u00E4xt\n", payload};
    for (const DumpFormat format : {DumpFormat::hex, DumpFormat::ascii}) {
      std::vector<std::byte> expected = bytes({0xFF, 0xFE});
      std::vector<std::byte> appended = expected;
      appendUtf16le(renderRecord(record, format), expected);
      appendRecordUtf16le(record, format, appended);
      EXPECT_EQ(appended, expected);
    }
  }
}

TEST(RenderedLength, IsTheLengthOfTheRenderedRecord) {
  for (std::size_t size = 0; size <= 200; ++size) {
    std::vector<std::byte> payload;
    for (std::size_t i = 0; i < size; ++i) {
      // Every third byte a line feed or a carriage return.
      payload.push_back(static_cast<std::byte>(i % 3 == 0 ? (i % 2 == 0 ? '\n' : '\r') : i));
    }
    const MonitorRecord record{L"stamp  ", L"text", payload};
    for (const DumpFormat format : {DumpFormat::hex, DumpFormat::ascii}) {
      const std::wstring text = renderRecord(record, format);
      EXPECT_EQ(renderedLength(record, format), text.size());
      EXPECT_EQ(text.find(L'\0'), std::wstring::npos);
      EXPECT_TRUE(text.ends_with(L"\r\n"));
    }
  }
}

}  // namespace
}  // namespace quillgate
