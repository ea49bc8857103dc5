// What holds for every file that may be loaded as rules, for the fuzz target and its corpus.
#pragma once

#include <cstddef>
#include <span>

namespace quillgate::test {

// Throws std::logic_error with a text when a rule is broken: a load writes one line; one that fails
// gives the default rules; what was loaded can be saved, and loading that gives the same rules.
void checkConfig(std::span<const std::byte> file);

}  // namespace quillgate::test
