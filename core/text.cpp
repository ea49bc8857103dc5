#include "core/text.h"

#include <algorithm>
#include <limits>

namespace quillgate {
namespace {

// What a number may begin with: the blanks that Windows' own conversion of wide text skips.
constexpr std::wstring_view kBlanksBeforeNumbers =
    L"\t\n\v\f\r \u00A0\u1680\u2000\u2001\u2002\u2003\u2004\u2005\u2006\u2007\u2008\u2009\u200A"
    L"\u2028\u2029\u202F\u205F\u3000";

constexpr bool isDigit(wchar_t c) { return c >= L'0' && c <= L'9'; }

constexpr wchar_t lowerCase(wchar_t c) {
  return c >= L'A' && c <= L'Z' ? static_cast<wchar_t>(c - L'A' + L'a') : c;
}

constexpr bool needsPair(wchar_t c) {
  const auto character = static_cast<std::uint32_t>(c);
  return character > 0xFFFF && character <= 0x10FFFF;
}

// Returns where the next unit goes.
std::byte* putUnit(std::uint32_t unit, std::byte* to) {
  *to++ = static_cast<std::byte>(unit & 0xFF);
  *to++ = static_cast<std::byte>(unit >> 8 & 0xFF);
  return to;
}

}  // namespace

std::wstring_view trimmed(std::wstring_view text) {
  constexpr std::wstring_view kTrimmedCharacters = L" \t\n\r";
  const std::size_t first = text.find_first_not_of(kTrimmedCharacters);
  if (first == std::wstring_view::npos) return {};
  return text.substr(first, text.find_last_not_of(kTrimmedCharacters) - first + 1);
}

std::int32_t integerFrom(std::wstring_view text) {
  constexpr std::int64_t kMin = std::numeric_limits<std::int32_t>::min();
  constexpr std::int64_t kMax = std::numeric_limits<std::int32_t>::max();

  text.remove_prefix(std::min(text.find_first_not_of(kBlanksBeforeNumbers), text.size()));
  const bool negative = text.starts_with(L'-');
  if (negative || text.starts_with(L'+')) text.remove_prefix(1);

  std::int64_t value = 0;
  for (const wchar_t c : text) {
    if (!isDigit(c)) break;
    value = value * 10 + (negative ? -(c - L'0') : c - L'0');
    value = std::clamp(value, kMin, kMax);
  }
  return static_cast<std::int32_t>(value);
}

std::uint16_t portFrom(std::wstring_view text) {
  constexpr std::int32_t kMaxPort = std::numeric_limits<std::uint16_t>::max();
  return static_cast<std::uint16_t>(std::clamp(integerFrom(trimmed(text)), 0, kMaxPort));
}

std::wstring decimalText(std::uint32_t value) {
  const std::string digits = std::to_string(value);
  return {digits.begin(), digits.end()};
}

std::wstring joined(std::initializer_list<std::wstring_view> parts) {
  std::size_t length = 0;
  for (const std::wstring_view part : parts) length += part.size();
  std::wstring text;
  text.reserve(length);
  for (const std::wstring_view part : parts) text += part;
  return text;
}

bool equalsIgnoringCase(std::wstring_view a, std::wstring_view b) {
  return std::ranges::equal(a, b, {}, lowerCase, lowerCase);
}

void appendUtf16le(std::wstring_view text, std::vector<std::byte>& bytes) {
  constexpr std::uint32_t kReplacement = 0xFFFD;
  // The room first: growing by each byte would take several times as long.
  const std::size_t start = bytes.size();
  const auto pairs = static_cast<std::size_t>(std::ranges::count_if(text, needsPair));
  bytes.resize(start + 2 * (text.size() + pairs));

  std::byte* to = bytes.data() + start;
  for (const wchar_t c : text) {
    auto character = static_cast<std::uint32_t>(c);
    if constexpr (sizeof(wchar_t) > 2) {
      if (character > 0x10FFFF) character = kReplacement;
      if (character > 0xFFFF) {
        to = putUnit(0xD800 + ((character - 0x10000) >> 10), to);
        character = 0xDC00 + ((character - 0x10000) & 0x3FF);
      }
    }
    to = putUnit(character, to);
  }
}

}  // namespace quillgate
