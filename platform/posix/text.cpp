#include "platform/posix/text.h"

#include <cstddef>
#include <cstdint>

namespace quillgate::platform {
namespace {

constexpr std::uint32_t kEscapedByte = 0xDC00;  // + the byte, 0x80..0xFF
constexpr std::uint32_t kReplacement = 0xFFFD;

bool isEscapedByte(std::uint32_t character) {
  return character >= kEscapedByte + 0x80 && character <= kEscapedByte + 0xFF;
}

bool isCharacter(std::uint32_t value) {
  return value <= 0x10FFFF && (value < 0xD800 || value > 0xDFFF);
}

void appendUtf8(std::uint32_t character, std::string& bytes) {
  const auto append = [&bytes](std::uint32_t byte) { bytes.push_back(static_cast<char>(byte)); };
  const auto appendTail = [&append](std::uint32_t bits) { append(0x80 | (bits & 0x3F)); };
  if (character < 0x80) {
    append(character);
  } else if (character < 0x800) {
    append(0xC0 | character >> 6);
    appendTail(character);
  } else if (character < 0x10000) {
    append(0xE0 | character >> 12);
    appendTail(character >> 6);
    appendTail(character);
  } else {
    append(0xF0 | character >> 18);
    appendTail(character >> 12);
    appendTail(character >> 6);
    appendTail(character);
  }
}

// The bytes of a sequence and the smallest character that needs that many, by its first byte.
struct Sequence {
  std::size_t length;
  std::uint32_t firstBits;
  std::uint32_t smallest;
};

Sequence sequenceOf(unsigned char first) {
  if (first < 0x80) return {1, first, 0};
  if (first >= 0xC0 && first < 0xE0) return {2, first & 0x1Fu, 0x80};
  if (first >= 0xE0 && first < 0xF0) return {3, first & 0x0Fu, 0x800};
  if (first >= 0xF0 && first < 0xF8) return {4, first & 0x07u, 0x10000};
  return {0, 0, 0};
}

// Takes one character off the front of `bytes`, which is not empty.
std::uint32_t takeCharacter(std::string_view& bytes) {
  const auto first = static_cast<unsigned char>(bytes.front());
  const auto [length, firstBits, smallest] = sequenceOf(first);
  bool proper = length > 0 && length <= bytes.size();
  std::uint32_t character = firstBits;
  for (std::size_t i = 1; proper && i < length; ++i) {
    const auto tail = static_cast<unsigned char>(bytes[i]);
    proper = (tail & 0xC0) == 0x80;
    character = character << 6 | (tail & 0x3Fu);
  }
  proper = proper && character >= smallest && isCharacter(character);
  bytes.remove_prefix(proper ? length : 1);
  return proper ? character : kEscapedByte + first;
}

}  // namespace

std::string toBytes(std::wstring_view text) {
  std::string bytes;
  bytes.reserve(text.size());
  for (const wchar_t unit : text) {
    const auto character = static_cast<std::uint32_t>(unit);
    if (isEscapedByte(character)) {
      bytes.push_back(static_cast<char>(character - kEscapedByte));
    } else {
      appendUtf8(isCharacter(character) ? character : kReplacement, bytes);
    }
  }
  return bytes;
}

std::wstring toWide(std::string_view bytes) {
  std::wstring text;
  text.reserve(bytes.size());
  while (!bytes.empty()) text.push_back(static_cast<wchar_t>(takeCharacter(bytes)));
  return text;
}

}  // namespace quillgate::platform
