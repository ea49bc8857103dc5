// The main window: a strip with the status indicator and five buttons, and the status panel that
// folds out below them. UI thread.
#pragma once

#include <QPlainTextEdit>
#include <QPointer>
#include <QSocketNotifier>
#include <QWidget>

#include "engine/shared_state.h"
#include "ui/qt/controls.h"
#include "ui/qt/news.h"
#include "ui/qt/status_indicator.h"
#include "ui/rule_actions.h"

namespace quillgate {

class LogWindow;
class MonitorWindow;
class RuleEditor;

class MainWindow final : public QWidget {
 public:
  // Both outlive every thread of the process.
  MainWindow(SharedState& state, News& news);
  ~MainWindow() override;

  // Brings the start/stop button's caption and the indicator in line with the server's running
  // flag.
  void showRunningState();

  // Rewrites the status report if the panel is folded out.
  void refreshStatusPanel();

  // The controls of the monitor window; null while there is none.
  [[nodiscard]] MonitorControls* monitorControls() const;

 protected:
  void closeEvent(QCloseEvent* event) override;

 private:
  void startOrStop();
  void toggleStatusPanel();
  void takeNews();

  SharedState& state_;
  News& news_;
  QSocketNotifier newsNotifier_;
  StatusIndicator indicator_;
  Button startStop_;
  Button config_;
  Button monitor_;
  Button log_;
  Button status_;
  QPlainTextEdit statusPanel_;
  QPointer<RuleEditor> ruleEditor_;
  QPointer<MonitorWindow> monitorWindow_;
  QPointer<LogWindow> logWindow_;
};

}  // namespace quillgate
