// How long a load lasts that a test puts on something.
#pragma once

#include <chrono>
#include <cstdlib>

namespace quillgate::test {

// The short time, or the long one when the environment has QUILLGATE_LONG_TESTS.
[[nodiscard]] inline std::chrono::seconds loadTime(std::chrono::seconds shortTime,
                                                   std::chrono::seconds longTime) {
  return std::getenv("QUILLGATE_LONG_TESTS") != nullptr ? longTime : shortTime;
}

}  // namespace quillgate::test
