// What the log window decides, without a toolkit. Pure; UI thread.
#pragma once

#include <cstddef>
#include <span>
#include <string>

#include "ui/layout.h"

namespace quillgate {

inline constexpr const wchar_t* kLogTitle = L"Log";
inline constexpr Size kLogSize{884, 481};  // client area at first

inline constexpr TextControl kClearLogsButton{L"Clear logs", {10, 10, 120, 28}};

// The place of the list of lines in a client area of this size, and what screen readers call it.
[[nodiscard]] constexpr Rectangle logListPlace(Size client) {
  return {10, 48, client.width - 20, client.height - 58};
}
inline constexpr const wchar_t* kLogListName = L"Log lines";

// Most lines the log window shows.
inline constexpr std::size_t kLogViewMaxLines = 500;

// The scroll position of a list of lines.
struct ListPosition {
  int count;         // lines in the list
  int topIndex;      // first visible line
  int clientHeight;  // pixels there are for lines
  int itemHeight;    // pixels of one line
};

// Whether the list is scrolled to its end, within one line, so that it keeps showing the newest
// line. Asked before lines are added.
[[nodiscard]] bool followsEnd(const ListPosition& position);

// Those of the new lines that can be among the lines shown.
[[nodiscard]] std::span<const std::wstring> newestOf(std::span<const std::wstring> lines);

// How many of the oldest lines have to go from a list of `count`.
[[nodiscard]] int surplusLines(int count);

}  // namespace quillgate
