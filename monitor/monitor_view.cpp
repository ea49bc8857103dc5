#include "monitor/monitor_view.h"

#include <algorithm>
#include <numeric>
#include <vector>

#include "monitor/record_renderer.h"

namespace quillgate {
namespace {

const std::wstring kOffNotice =
    L"Monitoring is OFF.\r\nSelect 'All' or a rule to start monitoring.";

// The text of the records from `first` on, as far as it can stay in the view: records in front of
// kViewLineFeeds line feeds are left out.
std::wstring renderNewest(const RecordList::Snapshot& records, std::size_t first,
                          DumpFormat format) {
  std::vector<std::wstring> newestFirst;
  std::size_t lineFeeds = 0;
  for (std::size_t i = records.size(); i > first && lineFeeds < kViewLineFeeds; --i) {
    newestFirst.push_back(renderRecord(records[i - 1], format));
    lineFeeds += static_cast<std::size_t>(std::ranges::count(newestFirst.back(), L'\n'));
  }
  return std::accumulate(newestFirst.rbegin(), newestFirst.rend(), std::wstring());
}

}  // namespace

void trimViewText(std::wstring& text) {
  std::size_t end = text.size();
  for (std::size_t lineFeeds = 0; lineFeeds < kViewLineFeeds; ++lineFeeds) {
    if (end == 0) return;
    end = text.rfind(L'\n', end - 1);
    if (end == std::wstring::npos) return;
  }
  text.erase(0, end + 1);
}

const std::wstring* MonitorView::refresh() {
  monitor_.beginRefresh();
  const std::int32_t filter = monitor_.filter();
  if (filter == kFilterOff) return nullptr;
  const auto [records, firstNew] = monitor_.takeForView(filter);
  if (firstNew == records.size()) return nullptr;
  text_ += renderNewest(records, firstNew, monitor_.format());
  trimViewText(text_);
  return &text_;
}

const std::wstring& MonitorView::rebuild() {
  const std::int32_t filter = monitor_.filter();
  if (filter == kFilterOff) return clear();
  text_ = renderNewest(monitor_.takeForView(filter).records, 0, monitor_.format());
  trimViewText(text_);
  return text_;
}

const std::wstring& MonitorView::clear() {
  text_.clear();
  return monitor_.filter() == kFilterOff ? kOffNotice : text_;
}

}  // namespace quillgate
