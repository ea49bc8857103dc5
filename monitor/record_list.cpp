#include "monitor/record_list.h"

#include <algorithm>
#include <span>
#include <utility>

namespace quillgate {

static_assert(kMaxRecords % kTrimRecords == 0, "a trim removes exactly one block");

namespace {

// Among so many owners the one of the next record is looked for: as many threads as capture at the
// same time take turns.
constexpr std::size_t kRecentOwners = 4;

bool haveOneOwner(const SharedRecord& a, const SharedRecord& b) {
  return !a.owner_before(b) && !b.owner_before(a);
}

// Keeps the owner of `record` alive, too.
void keepOwner(std::vector<SharedRecord>& owners, const SharedRecord& record) {
  const auto recent = std::span(owners).last(std::min(owners.size(), kRecentOwners));
  if (std::ranges::none_of(
          recent, [&](const SharedRecord& other) { return haveOneOwner(other, record); })) {
    owners.push_back(record);
  }
}

}  // namespace

RecordList::SharedBlock RecordList::append(const SharedRecord& record) {
  if (size_ == blocks_.size() * kTrimRecords) blocks_.push_back(std::make_shared<Block>());
  Block& block = *blocks_.back();
  keepOwner(block.owners, record);
  block.records[size_ % kTrimRecords] = record.get();
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
