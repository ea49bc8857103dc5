// Texts as bytes of UTF-16, in either order of bytes.
#pragma once

#include <string>
#include <string_view>

namespace quillgate::test {

[[nodiscard]] inline std::string utf16(std::u16string_view text, bool littleEndian) {
  std::string bytes;
  for (const char16_t unit : text) {
    const char low = static_cast<char>(unit & 0xFF);
    const char high = static_cast<char>(unit >> 8);
    bytes += littleEndian ? low : high;
    bytes += littleEndian ? high : low;
  }
  return bytes;
}

// The same behind a byte-order mark.
[[nodiscard]] inline std::string markedUtf16(std::u16string_view text, bool littleEndian) {
  return (littleEndian ? "\xFF\xFE" : "\xFE\xFF") + utf16(text, littleEndian);
}

}  // namespace quillgate::test
