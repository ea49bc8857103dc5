#include "core/text.h"

#include <gtest/gtest.h>

#include <array>
#include <limits>
#include <string>
#include <vector>

namespace quillgate {
namespace {

std::vector<int> bytesOf(std::wstring_view text) {
  std::vector<std::byte> bytes;
  appendUtf16le(text, bytes);
  std::vector<int> values;
  for (const std::byte b : bytes) values.push_back(std::to_integer<int>(b));
  return values;
}

TEST(DecimalText, HasTheDigitsOfTheValueAndNothingElse) {
  EXPECT_EQ(decimalText(0), L"0");
  EXPECT_EQ(decimalText(65535), L"65535");
  EXPECT_EQ(decimalText(4294967295), L"4294967295");
}

TEST(Joined, HasAllPartsInTheirOrder) {
  const std::wstring port = L"8080";
  EXPECT_EQ(joined({L"local ", port, L"", L" -> ", std::wstring(300, L'x')}),
            L"local 8080 -> " + std::wstring(300, L'x'));
  EXPECT_EQ(joined({}), L"");
}

TEST(Text, TrimsExactlySpaceTabLineFeedAndCarriageReturn) {
  EXPECT_EQ(trimmed(L" \t\r\n8080\n\r\t "), L"8080");
  EXPECT_EQ(trimmed(L"a b\tc"), L"a b\tc");
  EXPECT_EQ(trimmed(L" \t\r\n"), L"");
  EXPECT_EQ(trimmed(L""), L"");
}

TEST(Text, LeavesOtherCharactersAtTheEnds) {
  std::wstring left;
  for (wchar_t c = 0; c < 0xFFFF; ++c) {
    if (!trimmed(std::wstring_view(&c, 1)).empty()) left += c;
  }
  EXPECT_EQ(left.size(), 0xFFFFU - 4);
  EXPECT_EQ(trimmed(L"\u00A0x\u00A0"), L"\u00A0x\u00A0");
  EXPECT_EQ(trimmed(L"\vx\f"), L"\vx\f");
  EXPECT_EQ(trimmed(std::wstring_view(L"\0x\0", 3)), std::wstring_view(L"\0x\0", 3));
}

struct NumberCase {
  const wchar_t* text;
  std::int32_t value;
};

TEST(Text, ReadsTheIntegerThatATextBeginsWith) {
  constexpr std::int32_t kMax = std::numeric_limits<std::int32_t>::max();
  constexpr std::int32_t kMin = std::numeric_limits<std::int32_t>::min();
  constexpr std::array kCases = {
      NumberCase{L"", 0},
      NumberCase{L"0", 0},
      NumberCase{L"80", 80},
      NumberCase{L"0080", 80},
      NumberCase{L"  \t\n\v\f\r80", 80},
      NumberCase{L"\u00A0\u300080", 80},
      NumberCase{L"\u00AD80", 0},
      NumberCase{L"+80", 80},
      NumberCase{L"-80", -80},
      NumberCase{L" -80", -80},
      NumberCase{L"\t+80", 80},
      NumberCase{L"+-80", 0},
      NumberCase{L"--80", 0},
      NumberCase{L"- 80", 0},
      NumberCase{L"-", 0},
      NumberCase{L"+", 0},
      NumberCase{L"80x", 80},
      NumberCase{L"80 81", 80},
      NumberCase{L"80.9", 80},
      NumberCase{L"0x50", 0},
      NumberCase{L"x80", 0},
      NumberCase{L"letters", 0},
      NumberCase{L"\uFF18\uFF10", 0},
      NumberCase{L"65535", 65535},
      NumberCase{L"65536", 65536},
      NumberCase{L"2147483646", 2147483646},
      NumberCase{L"2147483647", kMax},
      NumberCase{L"2147483648", kMax},
      NumberCase{L"4294967376", kMax},
      NumberCase{L"18446744073709551696", kMax},
      NumberCase{L"99999999999999999999999999999999999999999", kMax},
      NumberCase{L"-2147483647", -2147483647},
      NumberCase{L"-2147483648", kMin},
      NumberCase{L"-2147483649", kMin},
      NumberCase{L"-99999999999999999999999999999999999999999", kMin},
  };
  for (const NumberCase& c : kCases) {
    EXPECT_EQ(integerFrom(c.text), c.value) << std::string(c.text, c.text + wcslen(c.text));
  }
}

TEST(Text, SkipsTheseBlanksBeforeANumberAndNoOthers) {
  const std::wstring blanks =
      L"\t\n\v\f\r \u00A0\u1680\u2000\u2001\u2002\u2003\u2004\u2005\u2006\u2007\u2008\u2009\u200A"
      L"\u2028\u2029\u202F\u205F\u3000";
  std::wstring skipped;
  for (wchar_t c = 0; c < 0xFFFF; ++c) {
    if (integerFrom(std::wstring(1, c) + L"80") == 80 && c != L'0' && c != L'+') skipped += c;
  }
  EXPECT_EQ(skipped, blanks);
}

TEST(Text, MovesPortsIntoTheirRange) {
  EXPECT_EQ(portFrom(L" 8080 "), 8080);
  EXPECT_EQ(portFrom(L"70000"), 65535);
  EXPECT_EQ(portFrom(L"99999"), 65535);
  EXPECT_EQ(portFrom(L"65535"), 65535);
  EXPECT_EQ(portFrom(L"65534"), 65534);
  EXPECT_EQ(portFrom(L"-5"), 0);
  EXPECT_EQ(portFrom(L"-1"), 0);
  EXPECT_EQ(portFrom(L"80x"), 80);
  EXPECT_EQ(portFrom(L"x"), 0);
  EXPECT_EQ(portFrom(L""), 0);
  EXPECT_EQ(portFrom(L"-99999999999"), 0);
}

TEST(Text, ComparesWithoutRegardToTheCaseOfAsciiLetters) {
  EXPECT_TRUE(equalsIgnoringCase(L"TrUe", L"true"));
  EXPECT_TRUE(equalsIgnoringCase(L"AZaz", L"azAZ"));
  EXPECT_TRUE(equalsIgnoringCase(L"", L""));
  EXPECT_FALSE(equalsIgnoringCase(L"true", L"tru"));
  EXPECT_FALSE(equalsIgnoringCase(L"true", L"trux"));
  EXPECT_FALSE(equalsIgnoringCase(L"@[", L"`{"));
}

TEST(Text, TurnsTextIntoLittleEndianUnits) {
  EXPECT_EQ(bytesOf(L"A\r\n"), (std::vector<int>{0x41, 0, 0x0D, 0, 0x0A, 0}));
  EXPECT_EQ(bytesOf(L"\u00E9\u20AC\uFFFD"), (std::vector<int>{0xE9, 0, 0xAC, 0x20, 0xFD, 0xFF}));
  EXPECT_EQ(bytesOf(L"\uFFFF"), (std::vector<int>{0xFF, 0xFF}));
  EXPECT_EQ(bytesOf(L""), std::vector<int>{});
}

TEST(Text, WritesCharactersBeyondSixteenBitsAsSurrogatePairs) {
  EXPECT_EQ(bytesOf(L"\U0001F600"), (std::vector<int>{0x3D, 0xD8, 0x00, 0xDE}));
  EXPECT_EQ(bytesOf(L"\U0010FFFF"), (std::vector<int>{0xFF, 0xDB, 0xFF, 0xDF}));
  EXPECT_EQ(bytesOf(L"\U00010000"), (std::vector<int>{0x00, 0xD8, 0x00, 0xDC}));
}

TEST(Text, WritesALoneSurrogateUnchanged) {
  const std::wstring lone(1, static_cast<wchar_t>(0xD83D));
  EXPECT_EQ(bytesOf(lone), (std::vector<int>{0x3D, 0xD8}));
}

TEST(Text, ReplacesWhatIsNoCharacter) {
  if constexpr (sizeof(wchar_t) > 2) {
    const std::wstring noCharacter(1, static_cast<wchar_t>(0x110000));
    EXPECT_EQ(bytesOf(noCharacter), (std::vector<int>{0xFD, 0xFF}));
  } else {
    const std::wstring largest(1, static_cast<wchar_t>(0xFFFF));
    EXPECT_EQ(bytesOf(largest), (std::vector<int>{0xFF, 0xFF}));
  }
}

TEST(Text, AppendsToTheBytesThatAreThere) {
  std::vector<std::byte> bytes = {std::byte{0xFF}, std::byte{0xFE}};
  appendUtf16le(L"a", bytes);
  EXPECT_EQ(bytes, (std::vector<std::byte>{std::byte{0xFF}, std::byte{0xFE}, std::byte{'a'},
                                           std::byte{0}}));
}

}  // namespace
}  // namespace quillgate
