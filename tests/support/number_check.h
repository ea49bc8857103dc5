// What holds for every text that may be read as a number, for the fuzz target and its corpus.
#pragma once

#include <cstddef>
#include <span>

namespace quillgate::test {

// Reads the bytes as characters, a small alphabet in which numbers are frequent, and throws
// std::logic_error when the program's reading of a number differs from a slow one that compares
// digits instead of calculating.
void checkNumber(std::span<const std::byte> bytes);

}  // namespace quillgate::test
