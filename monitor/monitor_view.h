// The text that the monitor window shows: the newest lines of the chosen records. UI thread only.
//
// An update costs what the view can show, not what the store holds: only the newest records whose
// lines can stay in the view are rendered, after the store's lock has been released.
#pragma once

#include <cstddef>
#include <string>

#include "monitor/traffic_monitor.h"

namespace quillgate {

// The view keeps the text after the 500th line feed from its end: 499 lines, each with its line
// feed.
inline constexpr std::size_t kViewLineFeeds = 500;

// Cuts `text` to the part after its 500th line feed from the end. A text with fewer stays whole.
void trimViewText(std::wstring& text);

class MonitorView {
 public:
  explicit MonitorView(TrafficMonitor& monitor) : monitor_(monitor) {}

  // Answers a notice of the capture store: lets the next capture send a new one, then appends the
  // records that wait. Returns the whole text to show, or null when nothing changed, as it is
  // always while monitoring is off.
  [[nodiscard]] const std::wstring* refresh();

  // Renders the chosen records anew and returns the text to show; the notice that monitoring is off
  // while it is.
  [[nodiscard]] const std::wstring& rebuild();

  // Forgets the text, not the records, and returns what to show then: nothing, or the notice.
  [[nodiscard]] const std::wstring& clear();

 private:
  TrafficMonitor& monitor_;
  std::wstring text_;
};

}  // namespace quillgate
