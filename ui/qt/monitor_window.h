// The monitor window: a live dump of what is captured, with a filter, a format, an export and a way
// to forget it all. UI thread.
#pragma once

#include <QPlainTextEdit>
#include <QTimer>

#include "engine/shared_state.h"
#include "monitor/monitor_view.h"
#include "ui/monitor_layout.h"
#include "ui/qt/accessible.h"
#include "ui/qt/controls.h"
#include "ui/qt/news.h"
#include "ui/qt/secondary_window.h"
#include "ui/rule_actions.h"

namespace quillgate {

class MonitorWindow final : public SecondaryWindow, public MonitorControls {
 public:
  MonitorWindow(SharedState& state, News& news, QWidget* mainWindow);
  ~MonitorWindow() override;

  // New records wait: shows them now, or when the pause after the last ones is over.
  void onNews();

  void fillFilterList(const std::vector<FilterEntry>& entries, std::size_t selected) override;
  [[nodiscard]] std::int32_t selectedFilter() const override;
  void rebuildView() override;

 protected:
  void layOut(Size client) override;

 private:
  void refresh();
  void showText(const std::wstring& text);
  void save();

  SharedState& state_;
  News& news_;
  MonitorView monitorView_;
  ChoiceList filter_;
  ChoiceList format_;
  Button save_;
  Button clear_;
  QPlainTextEdit view_;
  QTimer pause_;
};

}  // namespace quillgate
