// Fuzz target of the loading and saving of rules. The corpus is tests/fuzz/corpus/config:
//
//   config_fuzz NEW_FOLDER tests/fuzz/corpus/config
#include <cstddef>
#include <cstdint>
#include <span>

#include "tests/support/config_check.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  quillgate::test::checkConfig(std::as_bytes(std::span(data, size)));
  return 0;
}
