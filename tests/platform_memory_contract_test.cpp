#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cstddef>
#include <span>
#include <vector>

#include "platform/memory.h"

namespace quillgate {
namespace {

TEST(PlatformMemory, CopiesAnySizeFromAnywhereAndNothingBehindIt) {
  std::vector<std::byte> source;
  for (int i = 0; i < 400; ++i) source.push_back(static_cast<std::byte>(i % 251));
  for (std::size_t size = 0; size <= 300; ++size) {
    for (std::size_t offset = 0; offset < 20; ++offset) {
      const auto from = std::span<const std::byte>(source).subspan(offset, size);
      alignas(64) std::array<std::byte, 320> to{};
      platform::copyPastCaches(from, to.data());
      ASSERT_TRUE(std::ranges::equal(from, std::span(to).first(size))) << size << ' ' << offset;
      ASSERT_EQ(std::ranges::count(std::span(to).subspan(size), std::byte{}),
                static_cast<std::ptrdiff_t>(to.size() - size));
    }
  }
}

}  // namespace
}  // namespace quillgate
