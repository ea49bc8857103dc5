#include "tests/support/process_resources.h"

#include <malloc.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <iterator>

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

}  // namespace

ProcessResources processResources() {
  return {.descriptors = entriesOf("/proc/self/fd"), .threads = entriesOf("/proc/self/task")};
}

ProcessMemory processMemory() {
  ::malloc_trim(0);
  const auto heap = ::mallinfo2();
  return {.heapBytes = heap.uordblks + heap.hblkhd,
          .residentBytes = residentPages() * static_cast<std::size_t>(::sysconf(_SC_PAGESIZE))};
}

}  // namespace quillgate::test
