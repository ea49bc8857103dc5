#include "monitor/record_list.h"

#include <utility>

namespace quillgate {

static_assert(kMaxRecords % kTrimRecords == 0, "a trim removes exactly one block");

RecordList::SharedBlock RecordList::append(SharedRecord record) {
  if (size_ == blocks_.size() * kTrimRecords) blocks_.push_back(std::make_shared<Block>());
  (*blocks_.back())[size_ % kTrimRecords] = std::move(record);
  ++size_;
  if (size_ <= kMaxRecords) return nullptr;

  SharedBlock trimmed = std::move(blocks_.front());
  blocks_.pop_front();
  size_ -= kTrimRecords;
  return trimmed;
}

RecordList::Snapshot RecordList::snapshot() const {
  Snapshot snapshot;
  snapshot.blocks_.assign(blocks_.begin(), blocks_.end());
  snapshot.size_ = size_;
  return snapshot;
}

}  // namespace quillgate
