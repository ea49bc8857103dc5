// How much load a test puts on something.
#pragma once

#include <cstdlib>

namespace quillgate::test {

// The small amount, or the large one when the environment has QUILLGATE_LONG_TESTS.
template <class Amount>
[[nodiscard]] Amount load(Amount small, Amount large) {
  return std::getenv("QUILLGATE_LONG_TESTS") != nullptr ? large : small;
}

}  // namespace quillgate::test
