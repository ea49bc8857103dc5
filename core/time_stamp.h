// The one form of a time in the log and in the monitor. Pure; any thread.
#pragma once

#include <array>
#include <cstddef>
#include <string_view>

#include "platform/system.h"

namespace quillgate {

// Length of a stamp in characters, with the two blanks at its end.
inline constexpr std::size_t kTimeStampLength = 25;

// The characters alone: nothing of a stamp needs memory from the heap.
class TimeStamp {
 public:
  explicit TimeStamp(const platform::LocalTime& time);

  // "2024-05-07 14:03:09.042  "; of a year only the last four digits.
  [[nodiscard]] std::wstring_view text() const { return {text_.data(), text_.size()}; }

 private:
  std::array<wchar_t, kTimeStampLength> text_;
};

}  // namespace quillgate
