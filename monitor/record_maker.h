// Turns captures into records. Any thread.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <mutex>
#include <vector>

#include "forwarding/forward_rule.h"
#include "monitor/monitor_record.h"
#include "monitor/record_slab.h"

namespace quillgate {

class RecordMaker {
 public:
  // The record of a capture. Those of one rule share slabs, as they are dropped together, and so do
  // those of no rule, whose index is above 9.
  [[nodiscard]] SharedRecord make(std::uint32_t ruleIndex, const Capture& capture);

  // Forgets the slabs that new records would have shared with earlier ones.
  void startAnew();

 private:
  using SharedSlab = std::shared_ptr<RecordSlab>;

  // The slabs that nobody adds to at the moment. The one added to last is taken next; the others
  // are there because that many threads have captured at the same time.
  struct Slabs {
    std::mutex lock;
    std::vector<SharedSlab> waiting;
  };

  [[nodiscard]] static SharedSlab takeFrom(Slabs& slabs);

  const std::shared_ptr<SlabPool> pool_ = std::make_shared<SlabPool>();
  std::array<Slabs, kRuleCount + 1> slabsOf_;  // of each rule, then of no rule
};

}  // namespace quillgate
