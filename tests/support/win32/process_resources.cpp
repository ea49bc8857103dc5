#include "tests/support/process_resources.h"

#include <windows.h>
#include <winternl.h>

#include <algorithm>
#include <cstdint>
#include <span>
#include <vector>

#include "platform/thread.h"
#include "tests/support/wine.h"

namespace quillgate::test {
namespace {

using SystemList = std::vector<std::byte>;

// A list of something in the whole system, with room for all of it.
SystemList listOf(SYSTEM_INFORMATION_CLASS what) {
  SystemList list(1 << 16);
  while (::NtQuerySystemInformation(what, list.data(), static_cast<ULONG>(list.size()), nullptr) !=
         0) {
    list.resize(list.size() * 2);
  }
  return list;
}

SYSTEM_PROCESS_INFORMATION ownProcess() {
  const SystemList list = listOf(SystemProcessInformation);
  const auto self = reinterpret_cast<HANDLE>(std::uintptr_t{::GetCurrentProcessId()});
  const std::byte* place = list.data();
  while (true) {
    const auto& process = *reinterpret_cast<const SYSTEM_PROCESS_INFORMATION*>(place);
    if (process.UniqueProcessId == self || process.NextEntryOffset == 0) return process;
    place += process.NextEntryOffset;
  }
}

// Wine's answer to the plain question is the size of the process's table, so there they are counted
// one by one.
std::size_t ownHandles() {
  if (!runsUnderWine()) {
    DWORD count = 0;
    ::GetProcessHandleCount(::GetCurrentProcess(), &count);
    return count;
  }
  const SystemList list = listOf(SystemHandleInformation);
  const auto& all = *reinterpret_cast<const SYSTEM_HANDLE_INFORMATION*>(list.data());
  const std::span handles(all.Handle, all.Count);
  return static_cast<std::size_t>(
      std::ranges::count(handles, ::GetCurrentProcessId(), &SYSTEM_HANDLE_ENTRY::OwnerPid));
}

struct HeapUse {
  std::size_t usedBytes = 0;
  std::size_t freeBytes = 0;
};

void addUseOf(HANDLE heap, HeapUse& use) {
  constexpr WORD kNoBlock = PROCESS_HEAP_REGION | PROCESS_HEAP_UNCOMMITTED_RANGE;
  PROCESS_HEAP_ENTRY entry{};
  ::HeapLock(heap);
  while (::HeapWalk(heap, &entry) != FALSE) {
    if ((entry.wFlags & PROCESS_HEAP_ENTRY_BUSY) != 0) {
      use.usedBytes += entry.cbData;
    } else if ((entry.wFlags & kNoBlock) == 0) {
      use.freeBytes += entry.cbData;
    }
  }
  ::HeapUnlock(heap);
}

HeapUse useOfHeaps() {
  std::vector<HANDLE> heaps(::GetProcessHeaps(0, nullptr));
  heaps.resize(::GetProcessHeaps(static_cast<DWORD>(heaps.size()), heaps.data()));
  HeapUse use;
  for (const HANDLE heap : heaps) addUseOf(heap, use);
  return use;
}

}  // namespace

ProcessResources processResources() {
  return {.descriptors = ownHandles(),
          .threads = ownProcess().NumberOfThreads - platform::parkedThreads()};
}

ProcessMemory processMemory() {
  const std::size_t residentBytes = ownProcess().VirtualMemoryCounters.WorkingSetSize;
  const HeapUse heaps = useOfHeaps();
  // A heap keeps what is freed; how much that is depends on the most that was ever in use.
  return {.heapBytes = heaps.usedBytes,
          .residentBytes = residentBytes - std::min(residentBytes, heaps.freeBytes)};
}

}  // namespace quillgate::test
