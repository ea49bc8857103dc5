// The one rule for what counts as an IPv4 address in text, the same on every system. Pure; any
// thread.
#pragma once

#include <array>
#include <cstddef>
#include <optional>
#include <string_view>

namespace quillgate::platform {

// The four bytes, in network order, of an address such as "192.0.2.1": four decimal numbers from 0
// to 255 with dots between them. Empty for anything else: blanks, fewer parts, a sign, hexadecimal,
// or a leading zero, which some systems read as octal.
[[nodiscard]] constexpr std::optional<std::array<std::byte, 4>> ipv4BytesFrom(
    std::wstring_view text) {
  std::array<std::byte, 4> bytes{};
  for (std::size_t part = 0; part < bytes.size(); ++part) {
    if (part > 0) {
      if (!text.starts_with(L'.')) return std::nullopt;
      text.remove_prefix(1);
    }
    unsigned value = 0;
    std::size_t digits = 0;
    while (digits < text.size() && text[digits] >= L'0' && text[digits] <= L'9') {
      value = value * 10 + static_cast<unsigned>(text[digits] - L'0');
      if (++digits > 3) return std::nullopt;
    }
    if (digits == 0 || value > 255 || (digits > 1 && text.front() == L'0')) return std::nullopt;
    bytes[part] = static_cast<std::byte>(value);
    text.remove_prefix(digits);
  }
  if (!text.empty()) return std::nullopt;
  return bytes;
}

}  // namespace quillgate::platform
