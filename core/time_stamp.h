// The one form of a time in the log and in the monitor. Pure; any thread.
#pragma once

#include <string>

#include "platform/system.h"

namespace quillgate {

// Length of a stamp in characters, with the two blanks at its end, for a year of four digits.
inline constexpr std::size_t kTimeStampLength = 25;

// "2024-05-07 14:03:09.042  ".
[[nodiscard]] std::wstring formatTimeStamp(const platform::LocalTime& time);

}  // namespace quillgate
