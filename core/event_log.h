// The program's one diagnostic channel: each message becomes one time-stamped line at the end of
// the log file and of a list in memory that the log window shows.
//
// write() may be called from any thread and waits only for other writers and the disk; the other
// operations belong to the UI thread. The object is never destroyed while a thread may still write.
#pragma once

#include <cstddef>
#include <deque>
#include <functional>
#include <mutex>
#include <string>
#include <string_view>
#include <vector>

#include "core/ui_notifier.h"

namespace quillgate {

// Most lines the list in memory holds after a write, and how many of the oldest go when one more
// comes.
inline constexpr std::size_t kMaxLogLines = 5000;
inline constexpr std::size_t kLogTrimLines = 1000;

class EventLog {
 public:
  explicit EventLog(UiNotifier& notifier) : notifier_(notifier) {}
  EventLog(const EventLog&) = delete;
  EventLog& operator=(const EventLog&) = delete;

  // Chooses the file; while it is empty, lines go to memory only. Called at start-up, before any
  // other thread writes.
  void setLogFilePath(std::wstring path);

  // Adds one line: the time now, two blanks, `message`. The file (UTF-16LE without a byte-order
  // mark, lines ended by CR LF) is opened, appended to and closed for each line; a file that cannot
  // be written is skipped without a report. Then calls the notifier.
  void write(std::wstring_view message);

  // The lines that neither this function nor openView() has returned before, oldest first.
  [[nodiscard]] std::vector<std::wstring> takeNewLines();

  // Calls `addLine` for the last `maxLines` lines, oldest first, and counts all lines as returned.
  // The log is locked meanwhile, so no line is missed or shown twice: `addLine` must not write to
  // the log.
  void openView(std::size_t maxLines, const std::function<void(const std::wstring&)>& addLine);

  // Empties the list and then deletes the file; the next line starts both anew. A line that another
  // thread writes in between stays in the list only. On Windows the file is kept if somebody has it
  // open for 0.2 s.
  void clear();

 private:
  void appendToFile(std::wstring_view line);

  UiNotifier& notifier_;
  std::mutex mutex_;  // guards everything below and the file
  std::deque<std::wstring> lines_;
  std::size_t viewIndex_ = 0;  // first line not returned yet
  std::wstring logFilePath_;
  std::vector<std::byte> fileLine_;  // of the last line; its memory serves the next one
};

}  // namespace quillgate
