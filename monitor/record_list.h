// A bounded list of records, oldest first, in blocks of equal size. Everything done under the
// store's lock is short: appending fills a slot, trimming removes one block, and a snapshot copies
// the pointers to the blocks instead of the records.
//
// Not thread-safe: the capture store's lock guards the list. A snapshot needs no lock.
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
  // Records that are dropped together, oldest first, and what keeps them alive: the owner of
  // records that come soon after one another, as those of a slab do, is counted once.
  struct Block {
    std::array<const MonitorRecord*, kTrimRecords> records;
    std::vector<SharedRecord> owners;
  };
  using SharedBlock = std::shared_ptr<Block>;

  // The records of the list at one moment. Later changes of the list do not change it.
  class Snapshot {
   public:
    [[nodiscard]] std::size_t size() const { return size_; }
    [[nodiscard]] const MonitorRecord& operator[](std::size_t index) const {
      return *blocks_[index / kTrimRecords]->records[index % kTrimRecords];
    }

   private:
    friend class RecordList;
    std::vector<SharedBlock> blocks_;
    std::size_t size_ = 0;
  };

  [[nodiscard]] std::size_t size() const { return size_; }
  [[nodiscard]] const MonitorRecord& operator[](std::size_t index) const {
    return *blocks_[index / kTrimRecords]->records[index % kTrimRecords];
  }

  // Adds the newest record. If the list then has more than kMaxRecords, removes the oldest
  // kTrimRecords and returns them, for the caller to destroy after releasing the lock. Otherwise
  // returns null.
  [[nodiscard]] SharedBlock append(const SharedRecord& record);

  [[nodiscard]] Snapshot snapshot() const;

 private:
  // Every block is full but the last, so the oldest record is always the first of the first block.
  std::deque<SharedBlock> blocks_;
  std::size_t size_ = 0;
};

}  // namespace quillgate
