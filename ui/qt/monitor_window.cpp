#include "ui/qt/monitor_window.h"

#include <QScrollBar>
#include <QSignalBlocker>

#include "ui/monitor_actions.h"
#include "ui/qt/dialogs_qt.h"
#include "ui/qt/text.h"
#include "ui/refresh_pause.h"

namespace quillgate {

MonitorWindow::MonitorWindow(SharedState& state, News& news, QWidget* mainWindow)
    : SecondaryWindow(kMonitorTitle, kMonitorSize, mainWindow),
      state_(state),
      news_(news),
      monitorView_(state.monitor),
      filter_(toQt(kFilterListName), content()),
      format_(toQt(kFormatListName), content()),
      save_(monitorPlaces(kMonitorSize).save, content()),
      clear_(monitorPlaces(kMonitorSize).clear, content()),
      view_(content()) {
  view_.setReadOnly(true);
  view_.setTextInteractionFlags(Qt::TextSelectableByMouse | Qt::TextSelectableByKeyboard);
  view_.setUndoRedoEnabled(false);
  view_.setWordWrapMode(QTextOption::WrapAtWordBoundaryOrAnywhere);
  view_.setVerticalScrollBarPolicy(Qt::ScrollBarAlwaysOn);
  view_.setTabChangesFocus(true);
  view_.setAccessibleName(toQt(kMonitorViewName));
  layOut(kMonitorSize);

  for (const wchar_t* name : kFormatNames) format_.addItem(toQt(name));
  format_.setCurrentIndex(static_cast<int>(state_.monitor.format()));
  fillFilterList(filterEntries(state_.rules.snapshot()), 0);
  showText(openMonitor(state_, monitorView_));

  pause_.setSingleShot(true);
  pause_.setInterval(kRefreshPause);
  connect(&pause_, &QTimer::timeout, this, [this] { refresh(); });
  connect(&filter_, &QComboBox::currentIndexChanged, this,
          [this] { showText(chooseFilter(state_, monitorView_, selectedFilter())); });
  connect(&format_, &QComboBox::currentIndexChanged, this,
          [this](int index) { showText(chooseFormat(state_, monitorView_, formatAt(index))); });
  connect(&save_, &QPushButton::clicked, this, [this] { save(); });
  connect(&clear_, &QPushButton::clicked, this,
          [this] { showText(clearMonitor(state_, monitorView_)); });
  news_.setMonitorOpen(true);
}

MonitorWindow::~MonitorWindow() { news_.setMonitorOpen(false); }

void MonitorWindow::layOut(Size client) {
  // Whoever sees the end goes on seeing it. There may be room for one more line below the last one.
  QScrollBar& position = *view_.verticalScrollBar();
  const bool showsEnd = position.value() >= position.maximum() - 1;
  const MonitorControlPlaces places = monitorPlaces(client);
  filter_.setGeometry(toQt(places.filter));
  format_.setGeometry(toQt(places.format));
  save_.setGeometry(toQt(places.save.place));
  clear_.setGeometry(toQt(places.clear.place));
  view_.setGeometry(toQt(places.view));
  if (showsEnd) position.setValue(position.maximum());
}

void MonitorWindow::onNews() {
  if (!pause_.isActive()) refresh();
}

void MonitorWindow::refresh() {
  const std::wstring* text = monitorView_.refresh();
  if (text == nullptr) return;
  showText(*text);
  pause_.start();
}

void MonitorWindow::showText(const std::wstring& text) {
  view_.setPlainText(toQt(text));
  view_.moveCursor(QTextCursor::End);
}

void MonitorWindow::save() {
  const std::int32_t filter = selectedFilter();
  askForSavePath(*this, kSaveMonitorDialog, [this, filter](const std::wstring& path) {
    if (!saveMonitor(state_, filter, path)) showError(*this, kSaveMonitorError);
  });
}

void MonitorWindow::fillFilterList(const std::vector<FilterEntry>& entries, std::size_t selected) {
  const QSignalBlocker blocker(filter_);
  filter_.clear();
  for (const FilterEntry& entry : entries) filter_.addItem(toQt(entry.text), entry.value);
  filter_.setCurrentIndex(static_cast<int>(selected));
}

std::int32_t MonitorWindow::selectedFilter() const {
  return filter_.currentIndex() < 0 ? kFilterOff : filter_.currentData().toInt();
}

void MonitorWindow::rebuildView() { showText(monitorView_.rebuild()); }

}  // namespace quillgate
