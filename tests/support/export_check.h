// What holds for the export of anything that was captured, for the fuzz target and its corpus.
#pragma once

#include <cstddef>
#include <span>

namespace quillgate::test {

// Reads the bytes as a filter, a format and captures, and throws std::logic_error when the export
// is another text than a slow composition of what was captured.
void checkExport(std::span<const std::byte> bytes);

}  // namespace quillgate::test
