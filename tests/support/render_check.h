// What must hold for the rendering of any payload; shared by the fuzz target and the test that
// replays its corpus.
#pragma once

#include <cstddef>
#include <span>

namespace quillgate::test {

// Throws std::logic_error with a text when a rule is broken: the HEX text read back gives the
// payload, the ASCII text has nothing but the characters 32 to 126 and line breaks, and a record
// has the measured length and is the same in UTF-16LE.
void checkRendering(std::span<const std::byte> payload);

}  // namespace quillgate::test
