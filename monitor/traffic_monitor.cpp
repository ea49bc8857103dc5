#include "monitor/traffic_monitor.h"

#include <algorithm>
#include <memory>
#include <utility>

#include "core/time_stamp.h"
#include "platform/system.h"

namespace quillgate {

RecordList::SharedBlock TrafficMonitor::ShownList::append(SharedRecord record) {
  RecordList::SharedBlock trimmed = records.append(std::move(record));
  if (trimmed) shown -= std::min<std::uint64_t>(shown, kTrimRecords);
  return trimmed;
}

void TrafficMonitor::captureEvent(std::uint32_t ruleIndex, std::wstring_view text) {
  capturePayload(ruleIndex, text, {});
}

void TrafficMonitor::capturePayload(std::uint32_t ruleIndex, std::wstring_view text,
                                    std::span<const std::byte> data) {
  if (!captureOn.load(std::memory_order_relaxed)) return;

  auto record = std::make_shared<MonitorRecord>();
  record->timestamp = formatTimeStamp(platform::localTime());
  record->text = text;
  const auto kept = data.first(std::min(data.size(), kMaxPayloadBytes));
  record->payload.assign(kept.begin(), kept.end());
  if (kept.size() < data.size()) record->text += L"(truncated)";

  appendRecord(ruleIndex, std::move(record));
  notify();
}

void TrafficMonitor::appendRecord(std::uint32_t ruleIndex, SharedRecord record) {
  // Destroyed when nobody waits any more: thousands of records die with a block.
  RecordList::SharedBlock trimmedOfAll;
  RecordList::SharedBlock trimmedOfRule;

  const std::lock_guard lock(lock_);
  if (ruleIndex < byRule_.size()) trimmedOfRule = byRule_[ruleIndex].append(record);
  trimmedOfAll = all_.append(std::move(record));
}

void TrafficMonitor::notify() {
  if (!notifier_.recordsWatched()) return;
  std::uint8_t idle = 0;
  if (!refreshPending.compare_exchange_strong(idle, 1)) return;
  // News that could not be delivered must not silence all later news.
  if (!notifier_.recordsWait()) refreshPending.store(0);
}

void TrafficMonitor::clearAll() {
  std::array<ShownList, kRuleCount> byRule;
  ShownList all;

  const std::lock_guard lock(lock_);
  std::swap(all, all_);
  std::swap(byRule, byRule_);
}

RecordList::Snapshot TrafficMonitor::snapshot(std::int32_t filterValue) const {
  const std::lock_guard lock(lock_);
  return filterValue < 0 ? all_.records.snapshot()
                         : byRule_[static_cast<std::size_t>(filterValue)].records.snapshot();
}

}  // namespace quillgate
