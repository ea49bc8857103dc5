// Fuzz target of numbers in texts. The corpus is tests/fuzz/corpus/number:
//
//   number_fuzz NEW_FOLDER tests/fuzz/corpus/number
#include <cstddef>
#include <cstdint>
#include <span>

#include "tests/support/number_check.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  quillgate::test::checkNumber(std::as_bytes(std::span(data, size)));
  return 0;
}
