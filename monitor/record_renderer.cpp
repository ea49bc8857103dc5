#include "monitor/record_renderer.h"

#include <algorithm>
#include <string_view>

#include "core/text.h"

namespace quillgate {
namespace {

constexpr std::size_t kHexBytesPerLine = 32;
constexpr std::wstring_view kLineBreak = L"\r\n";

// Outputs for the characters of a dump, which are all ASCII. The caller has made room for them:
// an export has hundreds of millions, and checking the capacity for each would take longer than
// rendering it.

struct WideOutput {
  wchar_t* next;

  void put(char c) { *next++ = static_cast<wchar_t>(c); }
};

struct Utf16leOutput {
  std::byte* next;

  void put(char c) {
    *next++ = static_cast<std::byte>(c);
    *next++ = std::byte{0};
  }
};

template <typename Output>
void putLineBreak(Output& output) {
  output.put('\r');
  output.put('\n');
}

std::size_t hexLength(std::size_t bytes) {
  const std::size_t fullLines = bytes / kHexBytesPerLine;
  return bytes * 3 + fullLines + kLineBreak.size();
}

template <typename Output>
void putHex(std::span<const std::byte> payload, Output output) {
  constexpr std::string_view kDigits = "0123456789ABCDEF";
  for (std::size_t i = 0; i < payload.size(); ++i) {
    const auto value = std::to_integer<std::size_t>(payload[i]);
    output.put(kDigits[value >> 4]);
    output.put(kDigits[value & 15]);
    if ((i + 1) % kHexBytesPerLine == 0) {
      putLineBreak(output);
    } else {
      output.put(' ');
    }
  }
  putLineBreak(output);
}

std::size_t asciiLength(std::span<const std::byte> payload) {
  const auto dropped = std::ranges::count(payload, std::byte{'\r'});
  const auto doubled = std::ranges::count(payload, std::byte{'\n'});
  return payload.size() - static_cast<std::size_t>(dropped) + static_cast<std::size_t>(doubled) +
         kLineBreak.size();
}

template <typename Output>
void putAscii(std::span<const std::byte> payload, Output output) {
  for (const std::byte byte : payload) {
    const auto c = std::to_integer<char>(byte);
    if (c == '\r') continue;
    if (c == '\n') {
      putLineBreak(output);
    } else {
      output.put(c >= ' ' && c <= '~' ? c : '.');
    }
  }
  putLineBreak(output);
}

std::size_t dumpLength(std::span<const std::byte> payload, DumpFormat format) {
  return format == DumpFormat::hex ? hexLength(payload.size()) : asciiLength(payload);
}

template <typename Output>
void putDump(std::span<const std::byte> payload, DumpFormat format, Output output) {
  return format == DumpFormat::hex ? putHex(payload, output) : putAscii(payload, output);
}

void appendDump(std::span<const std::byte> payload, DumpFormat format, std::wstring& text) {
  const std::size_t start = text.size();
  text.resize(start + dumpLength(payload, format));
  putDump(payload, format, WideOutput{text.data() + start});
}

}  // namespace

std::wstring renderHex(std::span<const std::byte> payload) {
  std::wstring text;
  appendDump(payload, DumpFormat::hex, text);
  return text;
}

std::wstring renderAscii(std::span<const std::byte> payload) {
  std::wstring text;
  appendDump(payload, DumpFormat::ascii, text);
  return text;
}

std::size_t renderedLength(const MonitorRecord& record, DumpFormat format) {
  return record.timestamp.size() + record.text.size() + kLineBreak.size() +
         (record.payload.empty() ? 0 : dumpLength(record.payload, format));
}

std::wstring renderRecord(const MonitorRecord& record, DumpFormat format) {
  std::wstring text;
  text.reserve(renderedLength(record, format));
  text.append(record.timestamp).append(record.text).append(kLineBreak);
  if (!record.payload.empty()) appendDump(record.payload, format, text);
  return text;
}

void appendRecordUtf16le(const MonitorRecord& record, DumpFormat format,
                         std::vector<std::byte>& bytes) {
  appendUtf16le(record.timestamp, bytes);
  appendUtf16le(record.text, bytes);
  appendUtf16le(kLineBreak, bytes);
  if (record.payload.empty()) return;
  const std::size_t start = bytes.size();
  bytes.resize(start + dumpLength(record.payload, format) * 2);
  putDump(record.payload, format, Utf16leOutput{bytes.data() + start});
}

}  // namespace quillgate
