// The one form of a time in the log and in the monitor. Pure; any thread.
#pragma once

#include <string>

#include "platform/system.h"

namespace quillgate {

// Characters of a stamp whose year has four digits, the two blanks at its end included.
inline constexpr std::size_t kTimeStampLength = 25;

// "2024-05-07 14:03:09.042  ".
[[nodiscard]] std::wstring formatTimeStamp(const platform::LocalTime& time);

}  // namespace quillgate
