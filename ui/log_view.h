// What the log window decides, without a toolkit. Pure; UI thread.
#pragma once

#include <cstddef>
#include <span>
#include <string>

namespace quillgate {

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
