#include "ui/qt/main_window.h"

#include <QCloseEvent>
#include <QCoreApplication>

#include "ui/main_view.h"
#include "ui/qt/log_window.h"
#include "ui/qt/monitor_window.h"
#include "ui/qt/rule_editor.h"
#include "ui/qt/text.h"
#include "ui/status_report.h"

namespace quillgate {
namespace {

constexpr Qt::WindowFlags kFlags = Qt::Window | Qt::CustomizeWindowHint | Qt::WindowTitleHint |
                                   Qt::WindowSystemMenuHint | Qt::WindowMinimizeButtonHint |
                                   Qt::WindowCloseButtonHint;

// Restores the window and brings it to the front if it exists; otherwise makes it and shows it.
template <typename Window, typename Make>
void openWindow(QPointer<Window>& slot, Make make) {
  if (slot) {
    slot->bringToFront();
  } else {
    slot = make();
    slot->show();
  }
}

}  // namespace

MainWindow::MainWindow(SharedState& state, News& news)
    : QWidget(nullptr, kFlags),
      state_(state),
      news_(news),
      newsNotifier_(news.descriptor(), QSocketNotifier::Read),
      indicator_(state.server, this),
      startStop_(kStartStopButton, this),
      config_(kConfigButton, this),
      monitor_(kMonitorButton, this),
      log_(kLogButton, this),
      status_(kStatusButton, this),
      statusPanel_(this) {
  setWindowTitle(toQt(kMainTitle));
  setFixedSize(toQt(kMainSize));
  statusPanel_.setReadOnly(true);
  statusPanel_.setTextInteractionFlags(Qt::TextSelectableByMouse | Qt::TextSelectableByKeyboard);
  statusPanel_.setTabChangesFocus(true);
  statusPanel_.setVerticalScrollBarPolicy(Qt::ScrollBarAlwaysOn);
  statusPanel_.setAccessibleName(toQt(kStatusPanelName));
  statusPanel_.hide();

  connect(&newsNotifier_, &QSocketNotifier::activated, this, [this] { takeNews(); });
  connect(&startStop_, &QPushButton::clicked, this, [this] { startOrStop(); });
  connect(&config_, &QPushButton::clicked, this,
          [this] { openWindow(ruleEditor_, [this] { return new RuleEditor(state_, *this); }); });
  connect(&monitor_, &QPushButton::clicked, this, [this] {
    openWindow(monitorWindow_, [this] { return new MonitorWindow(state_, news_, this); });
  });
  connect(&log_, &QPushButton::clicked, this, [this] {
    openWindow(logWindow_, [this] { return new LogWindow(state_, news_, this); });
  });
  connect(&status_, &QPushButton::clicked, this, [this] { toggleStatusPanel(); });
}

MainWindow::~MainWindow() = default;

void MainWindow::showRunningState() {
  startStop_.setText(toQt(startStopCaption(state_.server.isRunning())));
  indicator_.refresh();
}

void MainWindow::refreshStatusPanel() {
  if (statusPanel_.isHidden()) return;
  statusPanel_.setPlainText(toQt(buildStatusReport(state_)));
}

MonitorControls* MainWindow::monitorControls() const { return monitorWindow_; }

// Takes everything along at once: the secondary windows with their dialogs, then the server.
void MainWindow::closeEvent(QCloseEvent* event) {
  delete ruleEditor_;
  delete monitorWindow_;
  delete logWindow_;
  state_.server.stop();
  event->accept();
  QCoreApplication::exit();  // not quit(), which asks the windows once more
}

void MainWindow::startOrStop() {
  if (state_.server.isRunning()) {
    state_.server.stop();
  } else {
    state_.server.start();
  }
  showRunningState();
  refreshStatusPanel();
}

void MainWindow::toggleStatusPanel() {
  const bool unfold = statusPanel_.isHidden();
  const Size client{kMainSize.width, kMainSize.height + (unfold ? kStatusPanelGrowth : 0)};
  statusPanel_.setVisible(unfold);
  setFixedSize(toQt(client));
  if (unfold) statusPanel_.setGeometry(toQt(statusPanelPlace(client)));
  refreshStatusPanel();
}

void MainWindow::takeNews() {
  const News::Waiting waiting = news_.take();
  if (waiting.lines && logWindow_) logWindow_->onNews();
  if (waiting.records && monitorWindow_) monitorWindow_->onNews();
}

}  // namespace quillgate
