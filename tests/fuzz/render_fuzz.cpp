// Fuzz target of the payload renderings. The corpus is tests/fuzz/corpus/render:
//
//   render_fuzz NEW_FOLDER tests/fuzz/corpus/render
#include <cstddef>
#include <cstdint>
#include <span>

#include "tests/support/render_check.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  quillgate::test::checkRendering(std::as_bytes(std::span(data, size)));
  return 0;
}
