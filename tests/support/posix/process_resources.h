// What this process holds of the system right now.
#pragma once

#include <cstddef>

namespace quillgate::test {

struct ProcessResources {
  std::size_t descriptors = 0;
  std::size_t threads = 0;
  std::size_t residentBytes = 0;  // memory that has a place in the machine's memory
};

// Any thread. The count of descriptors has one more than there are while nobody counts.
[[nodiscard]] ProcessResources processResources();

// Waits until there are no more descriptors and threads than `start` had; where that does not
// happen before the deadline, the current test fails.
void expectNoMoreThan(const ProcessResources& start);

}  // namespace quillgate::test
