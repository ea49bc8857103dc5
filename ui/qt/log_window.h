// The log window: the event log's lines, live, newest at the bottom, and a button that clears them.
// UI thread.
#pragma once

#include <QListWidget>
#include <QTimer>

#include "engine/shared_state.h"
#include "ui/qt/controls.h"
#include "ui/qt/news.h"
#include "ui/qt/secondary_window.h"

namespace quillgate {

class LogWindow final : public SecondaryWindow {
 public:
  LogWindow(SharedState& state, News& news, QWidget* mainWindow);
  ~LogWindow() override;

  // New lines wait: shows them now, or when the pause after the last ones is over.
  void onNews();

 protected:
  void layOut(Size client) override;

 private:
  void refresh();
  void clearLogs();

  SharedState& state_;
  News& news_;
  Button clear_;
  QListWidget lines_;
  QTimer pause_;
};

}  // namespace quillgate
