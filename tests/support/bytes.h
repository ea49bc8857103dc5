// Bytes for tests.
#pragma once

#include <cstddef>
#include <cstdint>
#include <random>
#include <span>
#include <string>
#include <string_view>

namespace quillgate::test {

// The bytes of a text, as long as that lives.
[[nodiscard]] inline std::span<const std::byte> bytesOf(std::string_view text) {
  return std::as_bytes(std::span(text));
}

// Bytes drawn at random, the same ones for the same seed.
[[nodiscard]] inline std::string randomBytes(std::uint32_t seed, std::size_t size) {
  std::mt19937 random(seed);
  std::string bytes(size, '\0');
  for (char& byte : bytes) byte = static_cast<char>(random());
  return bytes;
}

}  // namespace quillgate::test
