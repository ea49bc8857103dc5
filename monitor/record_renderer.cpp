#include "monitor/record_renderer.h"

#include <algorithm>
#include <string_view>

namespace quillgate {
namespace {

constexpr std::size_t kHexBytesPerLine = 32;
constexpr std::wstring_view kLineBreak = L"\r\n";

// The writers below put characters into room that was measured before: an export renders hundreds
// of millions, and a check of the capacity for each would cost more than the rendering.

wchar_t* write(std::wstring_view text, wchar_t* out) { return std::ranges::copy(text, out).out; }

std::size_t hexLength(std::size_t bytes) {
  const std::size_t fullLines = bytes / kHexBytesPerLine;
  return bytes * 3 + fullLines * (kLineBreak.size() - 1) + kLineBreak.size();
}

wchar_t* writeHex(std::span<const std::byte> payload, wchar_t* out) {
  constexpr std::wstring_view kDigits = L"0123456789ABCDEF";
  for (std::size_t i = 0; i < payload.size(); ++i) {
    const auto value = std::to_integer<std::size_t>(payload[i]);
    *out++ = kDigits[value >> 4];
    *out++ = kDigits[value & 15];
    if ((i + 1) % kHexBytesPerLine == 0) {
      out = write(kLineBreak, out);
    } else {
      *out++ = L' ';
    }
  }
  return write(kLineBreak, out);
}

std::size_t asciiLength(std::span<const std::byte> payload) {
  const auto dropped = std::ranges::count(payload, std::byte{'\r'});
  const auto doubled = std::ranges::count(payload, std::byte{'\n'});
  return payload.size() - static_cast<std::size_t>(dropped) + static_cast<std::size_t>(doubled) +
         kLineBreak.size();
}

wchar_t* writeAscii(std::span<const std::byte> payload, wchar_t* out) {
  for (const std::byte byte : payload) {
    const auto value = std::to_integer<wchar_t>(byte);
    if (value == L'\r') continue;
    if (value == L'\n') {
      out = write(kLineBreak, out);
    } else {
      *out++ = value >= L' ' && value <= L'~' ? value : L'.';
    }
  }
  return write(kLineBreak, out);
}

std::size_t dumpLength(std::span<const std::byte> payload, DumpFormat format) {
  return format == DumpFormat::hex ? hexLength(payload.size()) : asciiLength(payload);
}

wchar_t* writeDump(std::span<const std::byte> payload, DumpFormat format, wchar_t* out) {
  return format == DumpFormat::hex ? writeHex(payload, out) : writeAscii(payload, out);
}

std::wstring renderDump(std::span<const std::byte> payload, DumpFormat format) {
  std::wstring text(dumpLength(payload, format), L'\0');
  writeDump(payload, format, text.data());
  return text;
}

}  // namespace

std::wstring renderHex(std::span<const std::byte> payload) {
  return renderDump(payload, DumpFormat::hex);
}

std::wstring renderAscii(std::span<const std::byte> payload) {
  return renderDump(payload, DumpFormat::ascii);
}

std::size_t renderedLength(const MonitorRecord& record, DumpFormat format) {
  return record.timestamp.size() + record.text.size() + kLineBreak.size() +
         (record.payload.empty() ? 0 : dumpLength(record.payload, format));
}

std::wstring renderRecord(const MonitorRecord& record, DumpFormat format) {
  std::wstring text(renderedLength(record, format), L'\0');
  wchar_t* out = text.data();
  for (const std::wstring_view part :
       {std::wstring_view(record.timestamp), std::wstring_view(record.text), kLineBreak}) {
    out = write(part, out);
  }
  if (!record.payload.empty()) writeDump(record.payload, format, out);
  return text;
}

}  // namespace quillgate
