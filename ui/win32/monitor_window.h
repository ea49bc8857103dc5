// The monitor window: a live dump of what is captured, with a filter, a format, an export and a way
// to forget it all. UI thread only; other threads post WM_MONITOR_REFRESH.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "ui/monitor_actions.h"
#include "ui/rule_actions.h"
#include "ui/win32/accessible_names.h"
#include "ui/win32/refresh_pace.h"
#include "ui/win32/tail_view.h"
#include "ui/win32/ui_state.h"
#include "ui/win32/window.h"

namespace quillgate {

class MonitorWindow final : public Window, private MonitorControls {
 public:
  static constexpr const wchar_t* kClassName = L"QuillgateMonWnd";

 protected:
  LRESULT onMessage(UINT message, WPARAM wParam, LPARAM lParam) override;

 private:
  void onCreate();
  void onSize();
  void onCommand(int id, int notification);
  void onSave();
  void onRefresh();
  void onClose();

  void fillFilterList(const std::vector<FilterEntry>& entries, std::size_t selected) override;
  [[nodiscard]] std::int32_t selectedFilter() const override;
  void rebuildView() override;

  MonitorView view_{sharedState().monitor};
  TailView tail_;
  RefreshPace pace_;
  AccessibleNames names_;
};

}  // namespace quillgate
