#include "tests/support/render_check.h"

#include <algorithm>
#include <string>
#include <string_view>
#include <vector>

#include "core/text.h"
#include "monitor/record_renderer.h"
#include "tests/support/require.h"

namespace quillgate::test {
namespace {

// Takes `expected` from the front of `text`.
void take(std::wstring_view& text, std::wstring_view expected) {
  require(text.starts_with(expected), "a separator of the HEX text is missing");
  text.remove_prefix(expected.size());
}

unsigned takeDigit(std::wstring_view& text) {
  constexpr std::wstring_view kDigits = L"0123456789ABCDEF";
  require(!text.empty(), "the HEX text ends within a value");
  const std::size_t value = kDigits.find(text.front());
  require(value != std::wstring_view::npos, "the HEX text has something else than digits");
  text.remove_prefix(1);
  return static_cast<unsigned>(value);
}

std::vector<std::byte> parseHex(std::wstring_view text, std::size_t count) {
  std::vector<std::byte> bytes;
  while (bytes.size() < count) {
    const unsigned high = takeDigit(text);
    bytes.push_back(static_cast<std::byte>(high << 4 | takeDigit(text)));
    take(text, bytes.size() % 32 == 0 ? L"\r\n" : L" ");
  }
  take(text, L"\r\n");
  require(text.empty(), "the HEX text goes on after its end");
  return bytes;
}

void checkAscii(std::span<const std::byte> payload) {
  const std::wstring text = renderAscii(payload);
  require(text.ends_with(L"\r\n"), "the ASCII text does not end with a line break");
  for (std::size_t i = 0; i < text.size(); ++i) {
    const bool printable = text[i] >= 32 && text[i] <= 126;
    const bool opensBreak = text[i] == L'\r' && i + 1 < text.size() && text[i + 1] == L'\n';
    const bool closesBreak = text[i] == L'\n' && i > 0 && text[i - 1] == L'\r';
    require(printable || opensBreak || closesBreak, "the ASCII text has a foreign character");
  }
  const auto carriageReturns = std::ranges::count(payload, std::byte{'\r'});
  const auto lineFeeds = std::ranges::count(payload, std::byte{'\n'});
  require(std::ranges::count(text, L'\n') == lineFeeds + 1, "a line break is missing or too many");
  require(std::ssize(text) == std::ssize(payload) - carriageReturns + lineFeeds + 2,
          "a byte is missing or doubled");
}

}  // namespace

void checkRendering(std::span<const std::byte> payload) {
  require(std::ranges::equal(parseHex(renderHex(payload), payload.size()), payload),
          "the HEX text does not give the payload back");
  checkAscii(payload);

  const MonitorRecord record{L"stamp  ", L"text", payload};
  for (const DumpFormat format : {DumpFormat::hex, DumpFormat::ascii}) {
    const std::wstring text = renderRecord(record, format);
    require(renderedLength(record, format) == text.size(), "a record has not the measured length");
    std::vector<std::byte> expected;
    std::vector<std::byte> appended;
    appendUtf16le(text, expected);
    appendRecordUtf16le(record, format, appended);
    require(appended == expected, "a record is another one in UTF-16LE");
  }
}

}  // namespace quillgate::test
