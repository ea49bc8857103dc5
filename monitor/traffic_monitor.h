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
#include "monitor/record_renderer.h"

namespace quillgate {

// Values of the filter that name no rule; 0..9 are rule indexes.
inline constexpr std::int32_t kFilterOff = -2;
inline constexpr std::int32_t kFilterAll = -1;

class TrafficMonitor {
 public:
  explicit TrafficMonitor(UiNotifier& notifier) : notifier_(notifier) {}
  TrafficMonitor(const TrafficMonitor&) = delete;
  TrafficMonitor& operator=(const TrafficMonitor&) = delete;

  // Whether anything is recorded at all. Workers read it before each chunk.
  std::atomic<bool> captureOn{false};
  // Which records are shown and exported: kFilterOff, kFilterAll or a rule index.
  std::atomic<std::int32_t> filter{kFilterOff};
  // How payloads are rendered: non-zero as ASCII, zero as HEX.
  std::atomic<std::int32_t> asciiMode{1};
  // 1 while a refresh has been asked for and not been started.
  std::atomic<std::uint8_t> refreshPending{0};

  // Records an event without a payload. An index above 9 belongs to no rule's list.
  void captureEvent(std::uint32_t ruleIndex, std::wstring_view text);

  // Records a forwarded chunk: the first kMaxPayloadBytes of it; a longer one gets "(truncated)" at
  // the end of its text.
  void capturePayload(std::uint32_t ruleIndex, std::wstring_view text,
                      std::span<const std::byte> data);

  // Shows and exports the records that `filterValue` chooses from now on; captures unless it is
  // kFilterOff.
  void choose(std::int32_t filterValue);

  [[nodiscard]] DumpFormat format() const {
    return asciiMode.load() != 0 ? DumpFormat::ascii : DumpFormat::hex;
  }

  // Forgets every record and how many were shown.
  void clearAll();

  // The records of the list that `filterValue` chooses, all of them for a negative value.
  [[nodiscard]] RecordList::Snapshot snapshot(std::int32_t filterValue) const;

  // The same, and the index of the first record that no earlier call for that list has handed out.
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

    [[nodiscard]] RecordList::SharedBlock append(SharedRecord record);
  };

  // The place in `lists_` of the list that a filter value chooses.
  [[nodiscard]] static std::size_t listIndex(std::int32_t filterValue) {
    return filterValue < 0 ? 0 : 1 + static_cast<std::size_t>(filterValue);
  }
  void appendRecord(std::uint32_t ruleIndex, SharedRecord record);
  void notify();

  UiNotifier& notifier_;
  mutable std::mutex lock_;                      // guards the lists and the shown-counters
  std::array<ShownList, 1 + kRuleCount> lists_;  // all records, then those of each rule
};

}  // namespace quillgate
