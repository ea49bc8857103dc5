// Where records live: one after the other in slabs of memory, each with its texts and its payload.
//
// A record takes no memory of its own from the heap and gives none back: a slab goes as a whole,
// with the last of its records, and its memory is used again for the next one. So what is captured
// and dropped together, as the records of one rule are, should share slabs.
#pragma once

#include <cstddef>
#include <memory>
#include <mutex>
#include <span>
#include <string_view>
#include <vector>

#include "monitor/monitor_record.h"
#include "platform/system.h"

namespace quillgate {

// Memory of one slab: some sixty full records.
inline constexpr std::size_t kSlabBytes = 256 * 1024;

// The memory of slabs that are not in use. Any thread.
class SlabPool {
 public:
  using Memory = std::unique_ptr<std::byte[]>;

  // kSlabBytes of memory.
  [[nodiscard]] Memory take();

  // Keeps the memory for the next take(), as long as no more waits than an eighth of what is in
  // use, and one; the rest goes to the system. A trim drops a tenth of a list, so nothing does
  // while the lists stay full of records of one size.
  void giveBack(Memory memory);

  // How many pieces of memory wait.
  [[nodiscard]] std::size_t spare() const;

 private:
  mutable std::mutex lock_;
  std::vector<Memory> spare_;
  std::size_t inUse_ = 0;
};

// What becomes a record.
struct Capture {
  platform::LocalTime time;
  std::wstring_view text;
  std::wstring_view ending;  // of the text
  std::span<const std::byte> payload;
};

// One thread at a time may add records. Meanwhile, any thread may read those that it was given.
class RecordSlab {
 public:
  // Has room for `first` at least.
  RecordSlab(std::shared_ptr<SlabPool> pool, const Capture& first);
  RecordSlab(const RecordSlab&) = delete;
  RecordSlab& operator=(const RecordSlab&) = delete;
  ~RecordSlab();

  // The record of a capture, which lives as long as the slab. Null when there is no room left.
  [[nodiscard]] const MonitorRecord* add(const Capture& capture);

 private:
  std::byte* cut(std::size_t bytes, std::size_t alignment);
  std::wstring_view put(std::wstring_view text, std::wstring_view ending);

  const std::shared_ptr<SlabPool> pool_;
  const std::size_t size_;
  SlabPool::Memory memory_;
  void* next_;        // the first free byte
  std::size_t left_;  // free bytes

  // Of the last record; the next one often has the same.
  platform::LocalTime time_;
  std::wstring_view timestamp_;
  std::wstring_view text_;
};

}  // namespace quillgate
