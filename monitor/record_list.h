// A bounded list of records, oldest first, made of blocks of equal size, so that everything done
// under the store's lock is short: appending fills a slot, trimming unhooks one block, and a
// snapshot copies the few block handles instead of the records.
//
// Not thread-safe by itself: the capture store's lock guards the list. A snapshot needs no lock.
#pragma once

#include <array>
#include <cstddef>
#include <deque>
#include <memory>
#include <vector>

#include "monitor/monitor_record.h"

namespace quillgate {

// Most records a list holds after an append, and how many of the oldest go when one more comes.
inline constexpr std::size_t kMaxRecords = 50000;
inline constexpr std::size_t kTrimRecords = 5000;

class RecordList {
 public:
  using Block = std::array<SharedRecord, kTrimRecords>;
  using SharedBlock = std::shared_ptr<Block>;

  // The records that stood in the list at one moment. Stays as it is whatever happens to the list.
  class Snapshot {
   public:
    [[nodiscard]] std::size_t size() const { return size_; }
    [[nodiscard]] const MonitorRecord& operator[](std::size_t index) const {
      return *(*blocks_[index / kTrimRecords])[index % kTrimRecords];
    }

   private:
    friend class RecordList;
    std::vector<SharedBlock> blocks_;
    std::size_t size_ = 0;
  };

  [[nodiscard]] std::size_t size() const { return size_; }
  [[nodiscard]] const MonitorRecord& operator[](std::size_t index) const {
    return *(*blocks_[index / kTrimRecords])[index % kTrimRecords];
  }

  // Adds the newest record. Where that makes too many, takes the oldest kTrimRecords out and
  // returns them for the caller to destroy once the lock is released; otherwise returns null.
  [[nodiscard]] SharedBlock append(SharedRecord record);

  [[nodiscard]] Snapshot snapshot() const;

 private:
  // Every block is full but the last, so the oldest record is always the first of the first block.
  std::deque<SharedBlock> blocks_;
  std::size_t size_ = 0;
};

}  // namespace quillgate
