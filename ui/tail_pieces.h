// How a long text is put into a view a piece at a time. Pure; any thread.
#pragma once

#include <cstddef>
#include <string_view>

namespace quillgate {

// Where the piece begins that goes in front of what is shown already, text[shownFrom] and after:
// whole lines, as many as fit into `maxCharacters` but at least one. `shownFrom` is the size of the
// text, or the beginning of a line; 0 means that all is shown.
[[nodiscard]] std::size_t beginOfPieceBefore(std::wstring_view text, std::size_t shownFrom,
                                             std::size_t maxCharacters);

// Where the piece ends that goes behind what is shown already, everything before text[shownTo]:
// whole lines, as many as fit into `maxCharacters` but at least one. `shownTo` is 0 or the
// beginning of a line.
[[nodiscard]] std::size_t endOfPieceAfter(std::wstring_view text, std::size_t shownTo,
                                          std::size_t maxCharacters);

// Where the line begins that text[place] is in.
[[nodiscard]] std::size_t beginOfLineAt(std::wstring_view text, std::size_t place);

}  // namespace quillgate
