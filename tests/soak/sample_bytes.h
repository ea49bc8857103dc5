// Bytes to send that differ from place to place. Any thread.
#pragma once

#include <cstddef>
#include <cstdint>
#include <random>
#include <string>
#include <string_view>

namespace quillgate::test {

inline constexpr std::size_t kSampleBytes = 4 << 20;

// `size` bytes out of a fixed sequence, from the place that `choice` picks; at most kSampleBytes.
[[nodiscard]] inline std::string_view sampleBytes(std::uint64_t choice, std::size_t size) {
  static const auto& all = *new std::string([] {
    std::mt19937 random(1);
    std::string bytes(kSampleBytes * 2, '\0');
    for (char& byte : bytes) byte = static_cast<char>(random());
    return bytes;
  }());
  return std::string_view(all).substr(choice % kSampleBytes, size);
}

}  // namespace quillgate::test
