// What this process holds of the system right now.
#pragma once

#include <cstddef>

namespace quillgate::test {

struct ProcessResources {
  std::size_t descriptors = 0;  // handles on Windows
  std::size_t threads = 0;      // without those that are parked
};

// Any thread. The count of descriptors may have one more than there are while nobody counts. On
// Windows, libraries make handles when they first need them, and keep them.
[[nodiscard]] ProcessResources processResources();

// Waits until there are no more descriptors and threads than `start` had; where that does not
// happen before the deadline, the current test fails.
void expectNoMoreThan(const ProcessResources& start);

struct ProcessMemory {
  std::size_t heapBytes = 0;      // in use on the heap
  std::size_t residentBytes = 0;  // all that has a place in the machine's memory
};

// Without what is free on the heap and only kept for later. While no other thread allocates.
[[nodiscard]] ProcessMemory processMemory();

}  // namespace quillgate::test
