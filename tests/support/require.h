// What the checks of fuzz targets and their corpora demand.
#pragma once

#include <stdexcept>

namespace quillgate::test {

inline void require(bool holds, const char* rule) {
  if (!holds) throw std::logic_error(rule);
}

}  // namespace quillgate::test
