#include "monitor/traffic_monitor.h"

#include <algorithm>
#include <memory>
#include <utility>

#include "monitor/export_text.h"
#include "platform/system.h"

namespace quillgate {
namespace {

constexpr std::wstring_view kTruncated = L"(truncated)";

}  // namespace

RecordList::SharedBlock TrafficMonitor::ShownList::append(const SharedRecord& record) {
  RecordList::SharedBlock trimmed = records.append(record);
  if (trimmed) shown -= std::min(shown, kTrimRecords);
  return trimmed;
}

void TrafficMonitor::captureEvent(std::uint32_t ruleIndex, std::wstring_view text) {
  capturePayload(ruleIndex, text, {});
}

void TrafficMonitor::capturePayload(std::uint32_t ruleIndex, std::wstring_view text,
                                    std::span<const std::byte> data) {
  if (!captureOn_.load(std::memory_order_relaxed)) return;

  const auto kept = data.first(std::min(data.size(), kMaxPayloadBytes));
  const Capture capture{.time = platform::localTime(),
                        .text = text,
                        .ending = kept.size() < data.size() ? kTruncated : std::wstring_view(),
                        .payload = kept};
  appendRecord(ruleIndex, maker_.make(ruleIndex, capture));
  notify();
}

void TrafficMonitor::appendRecord(std::uint32_t ruleIndex, const SharedRecord& record) {
  // Destroyed after the lock is released: a block holds thousands of records.
  RecordList::SharedBlock trimmedOfAll;
  RecordList::SharedBlock trimmedOfRule;

  const std::lock_guard lock(lock_);
  if (ruleIndex < kRuleCount) trimmedOfRule = lists_[1 + ruleIndex].append(record);
  trimmedOfAll = lists_[0].append(record);
}

void TrafficMonitor::notify() {
  // Looked at first: a window that is about to refresh will see the record, and asking whether one
  // is open can be a call of the system. Without a window nothing is left pending.
  if (refreshPending_.load() || !notifier_.isMonitorOpen() || refreshPending_.exchange(true))
    return;
  // A notice that was not delivered must not prevent all later ones.
  if (!notifier_.notifyNewRecords()) refreshPending_.store(false);
}

void TrafficMonitor::choose(std::int32_t filterValue) {
  const bool on = filterValue == kFilterAll || isRuleFilter(filterValue);
  filter_.store(on ? filterValue : kFilterOff);
  captureOn_.store(on);
}

void TrafficMonitor::clearAll() {
  decltype(lists_) cleared;  // destroyed after the lock is released
  {
    const std::lock_guard lock(lock_);
    std::swap(cleared, lists_);
  }
  maker_.startAnew();
}

RecordList::Snapshot TrafficMonitor::snapshot(std::int32_t filterValue) const {
  const std::lock_guard lock(lock_);
  return lists_[listIndex(filterValue)].records.snapshot();
}

TrafficMonitor::RecordsToShow TrafficMonitor::takeForView(std::int32_t filterValue) {
  const std::lock_guard lock(lock_);
  ShownList& list = lists_[listIndex(filterValue)];
  return {list.records.snapshot(), std::exchange(list.shown, list.records.size())};
}

std::vector<std::byte> TrafficMonitor::exportText(std::int32_t filterValue) const {
  const std::lock_guard lock(lock_);
  return buildExportText(lists_[listIndex(filterValue)].records, filterValue, format());
}

}  // namespace quillgate
