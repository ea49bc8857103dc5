#include "tests/support/export_check.h"

#include <algorithm>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "monitor/traffic_monitor.h"
#include "tests/support/fake_notifier.h"
#include "tests/support/require.h"

namespace quillgate::test {
namespace {

constexpr wchar_t kAnyDigit = L'\1';  // no export has this character

std::wstring anyStamp() {
  std::wstring stamp = L"dddd-dd-dd dd:dd:dd.ddd  ";
  std::ranges::replace(stamp, L'd', kAnyDigit);
  return stamp;
}

struct Capture {
  std::uint32_t rule = 0;
  std::vector<std::byte> payload;
};

// Takes up to `count` bytes from the front.
std::span<const std::byte> take(std::span<const std::byte>& bytes, std::size_t count) {
  const auto taken = bytes.first(std::min(count, bytes.size()));
  bytes = bytes.subspan(taken.size());
  return taken;
}

std::uint32_t takeNumber(std::span<const std::byte>& bytes, std::uint32_t count) {
  const auto taken = take(bytes, 1);
  return taken.empty() ? 0 : std::to_integer<std::uint32_t>(taken.front()) % count;
}

// A rule or a number above all rules; then a piece and how often the payload repeats it, which
// makes long payloads of few bytes.
Capture takeCapture(std::span<const std::byte>& bytes) {
  Capture capture{.rule = takeNumber(bytes, kRuleCount + 2), .payload = {}};
  const std::uint32_t repeats = takeNumber(bytes, 64);
  const auto piece = take(bytes, takeNumber(bytes, 256));
  for (std::uint32_t i = 0; i < repeats; ++i) {
    capture.payload.insert(capture.payload.end(), piece.begin(), piece.end());
  }
  return capture;
}

std::wstring hexOf(std::span<const std::byte> payload) {
  std::wstring text;
  std::size_t inLine = 0;
  for (const std::byte byte : payload) {
    text += L"0123456789ABCDEF"[std::to_integer<unsigned>(byte) / 16];
    text += L"0123456789ABCDEF"[std::to_integer<unsigned>(byte) % 16];
    text += ++inLine == 32 ? L"\r\n" : L" ";
    inLine %= 32;
  }
  return text + L"\r\n";
}

std::wstring asciiOf(std::span<const std::byte> payload) {
  std::wstring text;
  for (const std::byte byte : payload) {
    const auto value = std::to_integer<unsigned>(byte);
    if (value == 10) {
      text += L"\r\n";
    } else if (value != 13) {
      text += value >= 32 && value < 127 ? static_cast<wchar_t>(value) : L'.';
    }
  }
  return text + L"\r\n";
}

// The text of an export with any digits in its time stamps.
std::wstring slowExport(const std::vector<Capture>& captures, std::int32_t filter, bool isAscii) {
  std::wstring records;
  std::size_t count = 0;
  for (const Capture& capture : captures) {
    if (filter >= 0 && capture.rule != static_cast<std::uint32_t>(filter)) continue;
    ++count;
    const auto kept =
        std::span(capture.payload).first(std::min<std::size_t>(4096, capture.payload.size()));
    records += anyStamp() + L"text";
    if (kept.size() < capture.payload.size()) records += L"(truncated)";
    records += L"\r\n";
    if (!kept.empty()) records += isAscii ? asciiOf(kept) : hexOf(kept);
  }
  std::wstring name = L"Rule " + std::to_wstring(filter + 1);
  if (filter == -1) name = L"All";
  if (filter == -2) name = L"None (monitoring off)";
  return std::wstring(L"Quillgate Monitor Export\r\nFormat: ") + (isAscii ? L"ASCII" : L"HEX") +
         L"\r\nFilter: " + name + L"\r\nItems:  " + std::to_wstring(count) + L"\r\n" +
         std::wstring(60, L'-') + L"\r\n\r\n" + records;
}

bool isMatch(wchar_t c, wchar_t expected) {
  return expected == kAnyDigit ? c >= L'0' && c <= L'9' : c == expected;
}

// Whether `bytes` are `expected` in UTF-16LE.
bool isMatch(std::span<const std::byte> bytes, std::wstring_view expected) {
  if (bytes.size() != expected.size() * 2) return false;
  for (std::size_t i = 0; i < expected.size(); ++i) {
    const unsigned low = std::to_integer<unsigned>(bytes[2 * i]);
    const unsigned high = std::to_integer<unsigned>(bytes[2 * i + 1]);
    if (!isMatch(static_cast<wchar_t>(high << 8 | low), expected[i])) return false;
  }
  return true;
}

}  // namespace

void checkExport(std::span<const std::byte> bytes) {
  static FakeNotifier notifier;
  const auto filter = static_cast<std::int32_t>(takeNumber(bytes, kRuleCount + 2)) + kFilterOff;
  const bool isAscii = takeNumber(bytes, 2) != 0;

  TrafficMonitor monitor(notifier);
  monitor.choose(kFilterAll);
  monitor.setFormat(isAscii ? DumpFormat::ascii : DumpFormat::hex);
  std::vector<Capture> captures;
  while (!bytes.empty()) {
    captures.push_back(takeCapture(bytes));
    monitor.capturePayload(captures.back().rule, L"text", captures.back().payload);
  }
  require(isMatch(monitor.exportText(filter), slowExport(captures, filter, isAscii)),
          "another export");
}

}  // namespace quillgate::test
