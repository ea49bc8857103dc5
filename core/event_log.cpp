#include "core/event_log.h"

#include <algorithm>
#include <iterator>
#include <utility>

#include "core/text.h"
#include "core/time_stamp.h"
#include "platform/file.h"
#include "platform/system.h"

namespace quillgate {

void EventLog::setLogFilePath(std::wstring path) {
  const std::lock_guard lock(mutex_);
  logFilePath_ = std::move(path);
}

void EventLog::write(std::wstring_view message) {
  const TimeStamp stamp(platform::localTime());
  std::wstring line;
  line.reserve(kTimeStampLength + message.size());
  line.append(stamp.text()).append(message);

  std::vector<std::wstring> trimmedLines;  // destroyed after the lock is released
  {
    const std::lock_guard lock(mutex_);
    if (!logFilePath_.empty()) appendToFile(line);
    lines_.push_back(std::move(line));
    if (lines_.size() > kMaxLogLines) {
      const auto firstKept = lines_.begin() + kLogTrimLines;
      trimmedLines.assign(std::move_iterator(lines_.begin()), std::move_iterator(firstKept));
      lines_.erase(lines_.begin(), firstKept);
      viewIndex_ -= std::min(viewIndex_, kLogTrimLines);
    }
  }
  notifier_.notifyNewLines();
}

void EventLog::appendToFile(std::wstring_view line) {
  fileLine_.clear();
  appendUtf16le(line, fileLine_);
  appendUtf16le(L"\r\n", fileLine_);
  platform::appendToFile(logFilePath_, fileLine_);
}

std::vector<std::wstring> EventLog::takeNewLines() {
  const std::lock_guard lock(mutex_);
  const auto firstNew = lines_.begin() + static_cast<std::ptrdiff_t>(viewIndex_);
  std::vector<std::wstring> newLines(firstNew, lines_.end());
  viewIndex_ = lines_.size();
  return newLines;
}

void EventLog::openView(std::size_t maxLines,
                        const std::function<void(const std::wstring&)>& addLine) {
  const std::lock_guard lock(mutex_);
  viewIndex_ = lines_.size();
  for (std::size_t i = lines_.size() - std::min(lines_.size(), maxLines); i < lines_.size(); ++i) {
    addLine(lines_[i]);
  }
}

void EventLog::clear() {
  std::deque<std::wstring> cleared;
  std::wstring path;
  {
    const std::lock_guard lock(mutex_);
    cleared.swap(lines_);
    viewIndex_ = 0;
    path = logFilePath_;
  }
  if (!path.empty()) platform::removeFile(path);
}

}  // namespace quillgate
