// How often a window looks at news that keep coming: at the first notice, and then after each pause
// in which more have come.
#pragma once

#include <chrono>

namespace quillgate {

inline constexpr std::chrono::milliseconds kRefreshPause{100};

}  // namespace quillgate
