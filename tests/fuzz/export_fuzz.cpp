// Fuzz target of the export. The corpus is tests/fuzz/corpus/export:
//
//   export_fuzz NEW_FOLDER tests/fuzz/corpus/export
#include <cstddef>
#include <cstdint>
#include <span>

#include "tests/support/export_check.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  quillgate::test::checkExport(std::as_bytes(std::span(data, size)));
  return 0;
}
