#include "monitor/record_maker.h"

#include <algorithm>
#include <utility>

namespace quillgate {

SharedRecord RecordMaker::make(std::uint32_t ruleIndex, const Capture& capture) {
  Slabs& slabs = slabsOf_[std::min<std::size_t>(ruleIndex, kRuleCount)];
  SharedSlab slab = takeFrom(slabs);
  const MonitorRecord* record = slab ? slab->add(capture) : nullptr;
  if (record == nullptr) {
    slab = std::make_shared<RecordSlab>(pool_, capture);
    record = slab->add(capture);
  }
  SharedRecord shared(slab, record);
  const std::lock_guard lock(slabs.lock);
  slabs.waiting.push_back(std::move(slab));
  return shared;
}

void RecordMaker::startAnew() {
  for (Slabs& slabs : slabsOf_) {
    std::vector<SharedSlab> forgotten;  // destroyed after the lock is released
    const std::lock_guard lock(slabs.lock);
    forgotten.swap(slabs.waiting);
  }
}

RecordMaker::SharedSlab RecordMaker::takeFrom(Slabs& slabs) {
  const std::lock_guard lock(slabs.lock);
  if (slabs.waiting.empty()) return nullptr;
  SharedSlab slab = std::move(slabs.waiting.back());
  slabs.waiting.pop_back();
  return slab;
}

}  // namespace quillgate
