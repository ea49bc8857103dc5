#include "ui/qt/log_window.h"

#include <QScrollBar>
#include <QStringList>
#include <span>
#include <string>
#include <vector>

#include "ui/log_view.h"
#include "ui/qt/text.h"
#include "ui/refresh_pause.h"

namespace quillgate {
namespace {

ListPosition positionOf(const QListWidget& list) {
  return {list.count(), list.verticalScrollBar()->value(), list.viewport()->height(),
          list.sizeHintForRow(0)};
}

void addLines(QListWidget& list, std::span<const std::wstring> lines) {
  QStringList texts;
  for (const std::wstring& line : lines) texts.append(toQt(line));
  list.addItems(texts);
}

}  // namespace

LogWindow::LogWindow(SharedState& state, News& news, QWidget* mainWindow)
    : SecondaryWindow(kLogTitle, kLogSize, mainWindow),
      state_(state),
      news_(news),
      clear_(kClearLogsButton, content()),
      lines_(content()) {
  lines_.setAccessibleName(toQt(kLogListName));
  lines_.setUniformItemSizes(true);
  lines_.setVerticalScrollMode(QAbstractItemView::ScrollPerItem);
  lines_.setVerticalScrollBarPolicy(Qt::ScrollBarAlwaysOn);
  lines_.setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
  lines_.setTextElideMode(Qt::ElideNone);
  layOut(kLogSize);

  std::vector<std::wstring> newest;
  state_.log.openView(kLogViewMaxLines,
                      [&newest](const std::wstring& line) { newest.push_back(line); });
  addLines(lines_, newest);
  lines_.scrollToBottom();

  pause_.setSingleShot(true);
  pause_.setInterval(kRefreshPause);
  connect(&pause_, &QTimer::timeout, this, [this] { refresh(); });
  connect(&clear_, &QPushButton::clicked, this, [this] { clearLogs(); });
  state_.log.write(L"Log window opened.");
  news_.setLogOpen(true);
}

LogWindow::~LogWindow() { news_.setLogOpen(false); }

void LogWindow::layOut(Size client) { lines_.setGeometry(toQt(logListPlace(client))); }

void LogWindow::onNews() {
  if (!pause_.isActive()) refresh();
}

void LogWindow::refresh() {
  const bool follow = followsEnd(positionOf(lines_));
  const std::vector<std::wstring> lines = state_.log.takeNewLines();
  if (lines.empty()) return;
  pause_.start();

  lines_.setUpdatesEnabled(false);
  addLines(lines_, newestOf(lines));
  if (const int surplus = surplusLines(lines_.count()); surplus > 0) {
    lines_.model()->removeRows(0, surplus);
  }
  if (follow) lines_.scrollToBottom();
  lines_.setUpdatesEnabled(true);
}

void LogWindow::clearLogs() {
  state_.log.clear();
  lines_.clear();
}

}  // namespace quillgate
