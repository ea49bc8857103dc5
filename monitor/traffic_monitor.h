// The capture store: what the forwarders saw while monitoring was on, one record per forwarded
// chunk and one per connection event, in memory only.
//
// The capture operations may be called from any thread; while capturing is off they cost one
// relaxed load. The other operations belong to the UI thread. The object is never destroyed while a
// thread may still capture.
#pragma once

#include <array>
#include <atomic>
#include <cstddef>
#include <cstdint>
#include <mutex>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "core/ui_notifier.h"
#include "forwarding/forward_rule.h"
#include "monitor/record_list.h"
#include "monitor/record_maker.h"
#include "monitor/record_renderer.h"

namespace quillgate {

// Values of the filter besides the rule indexes 0..9: nothing is shown or captured; the records of
// all rules are shown.
inline constexpr std::int32_t kFilterOff = -2;
inline constexpr std::int32_t kFilterAll = -1;

// Whether a filter value chooses the records of one rule.
[[nodiscard]] constexpr bool isRuleFilter(std::int32_t filterValue) {
  return filterValue >= 0 && filterValue < static_cast<std::int32_t>(kRuleCount);
}

class TrafficMonitor {
 public:
  explicit TrafficMonitor(UiNotifier& notifier) : notifier_(notifier) {}
  TrafficMonitor(const TrafficMonitor&) = delete;
  TrafficMonitor& operator=(const TrafficMonitor&) = delete;

  // Records an event without a payload. An index above 9 belongs to no rule's list.
  void captureEvent(std::uint32_t ruleIndex, std::wstring_view text);

  // Records a forwarded chunk: the first kMaxPayloadBytes of it; a longer one gets "(truncated)" at
  // the end of its text.
  void capturePayload(std::uint32_t ruleIndex, std::wstring_view text,
                      std::span<const std::byte> data);

  // Shows the records that `filterValue` chooses from now on: kFilterAll or a rule index, 0..9; any
  // other value is taken as kFilterOff. Captures unless it is that.
  void choose(std::int32_t filterValue);
  // What choose() has chosen, kFilterOff at first.
  [[nodiscard]] std::int32_t filter() const { return filter_.load(); }
  // Whether anything is recorded.
  [[nodiscard]] bool isCapturing() const { return captureOn_.load(); }

  // How payloads are shown and exported; ASCII at first.
  void setFormat(DumpFormat format) { format_.store(format); }
  [[nodiscard]] DumpFormat format() const { return format_.load(); }

  // The refresh that the notifier was asked for begins: the next capture asks for another one.
  void beginRefresh() { refreshPending_.store(false); }

  // Forgets every record and how many were shown.
  void clearAll();

  // The records of one rule, for its index, or of all rules, for any other value.
  [[nodiscard]] RecordList::Snapshot snapshot(std::int32_t filterValue) const;

  // The same, and the index of the first record that no earlier call for that list has returned.
  struct RecordsToShow {
    RecordList::Snapshot records;
    std::size_t firstNew = 0;
  };
  [[nodiscard]] RecordsToShow takeForView(std::int32_t filterValue);

  // The export of that list (see monitor/export_text.h). Captures wait until it is built.
  [[nodiscard]] std::vector<std::byte> exportText(std::int32_t filterValue) const;

 private:
  // A list and how many of its records the view has been given already.
  struct ShownList {
    RecordList records;
    std::size_t shown = 0;

    [[nodiscard]] RecordList::SharedBlock append(const SharedRecord& record);
  };

  // The place in `lists_` of the list that a filter value chooses.
  [[nodiscard]] static std::size_t listIndex(std::int32_t filterValue) {
    return isRuleFilter(filterValue) ? 1 + static_cast<std::size_t>(filterValue) : 0;
  }
  void appendRecord(std::uint32_t ruleIndex, const SharedRecord& record);
  void notify();

  UiNotifier& notifier_;
  std::atomic<bool> captureOn_{false};  // workers read it before each chunk
  std::atomic<std::int32_t> filter_{kFilterOff};
  std::atomic<DumpFormat> format_{DumpFormat::ascii};
  std::atomic<bool> refreshPending_{false};  // a refresh has been asked for and not begun
  RecordMaker maker_;
  mutable std::mutex lock_;                      // guards the lists and the shown-counters
  std::array<ShownList, 1 + kRuleCount> lists_;  // all records, then those of each rule
};

}  // namespace quillgate
