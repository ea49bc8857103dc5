// What a heap of Windows keeps for later, which nothing makes it give back.
#include <gtest/gtest.h>

#include <memory>
#include <vector>

#include "tests/support/process_resources.h"

namespace quillgate {
namespace {

TEST(ProcessMemory, LeavesOutWhatTheHeapKeepsForLater) {
  constexpr std::size_t kBlocks = 400'000;
  constexpr std::size_t kBlockBytes = 100;
  std::vector<std::unique_ptr<char[]>> blocks(kBlocks);
  const auto before = test::processMemory();
  for (auto& block : blocks) block = std::make_unique<char[]>(kBlockBytes);
  const auto full = test::processMemory();
  for (std::size_t i = 0; i + 1 < kBlocks; ++i) blocks[i].reset();
  const auto emptied = test::processMemory();

  // Threads of earlier tests may end meanwhile, and their stacks go with them.
  EXPECT_GT(full.residentBytes, emptied.residentBytes + kBlocks * kBlockBytes / 4 * 3);
  EXPECT_LT(emptied.residentBytes, before.residentBytes + kBlocks * kBlockBytes / 4);
}

}  // namespace
}  // namespace quillgate
