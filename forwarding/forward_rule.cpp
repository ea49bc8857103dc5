#include "forwarding/forward_rule.h"

namespace quillgate {

RuleSet RuleTable::snapshot() const {
  const std::lock_guard lock(mutex_);
  return rules_;
}

void RuleTable::replace(const RuleSet& rules) {
  const std::lock_guard lock(mutex_);
  rules_ = rules;
}

}  // namespace quillgate
