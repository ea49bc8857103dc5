#include "tests/support/process_resources.h"

#include <malloc.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <iterator>

#include "platform/thread.h"

// Of a sanitizer, which has a heap of its own; null without one.
// NOLINTNEXTLINE(readability-identifier-naming)
extern "C" [[gnu::weak]] std::size_t __sanitizer_get_current_allocated_bytes();

namespace quillgate::test {
namespace {

namespace fs = std::filesystem;

std::size_t entriesOf(const char* folder) {
  return static_cast<std::size_t>(
      std::distance(fs::directory_iterator(folder), fs::directory_iterator()));
}

std::size_t residentPages() {
  std::size_t allPages = 0;
  std::size_t pages = 0;
  std::ifstream("/proc/self/statm") >> allPages >> pages;
  return pages;
}

std::size_t heapBytes() {
  if (__sanitizer_get_current_allocated_bytes != nullptr) {
    return __sanitizer_get_current_allocated_bytes();
  }
  const auto heap = ::mallinfo2();
  return heap.uordblks + heap.hblkhd;
}

}  // namespace

ProcessResources processResources() {
  return {.descriptors = entriesOf("/proc/self/fd"),
          .threads = entriesOf("/proc/self/task") - platform::parkedThreads()};
}

ProcessMemory processMemory() {
  ::malloc_trim(0);
  return {.heapBytes = heapBytes(),
          .residentBytes = residentPages() * static_cast<std::size_t>(::sysconf(_SC_PAGESIZE))};
}

}  // namespace quillgate::test
