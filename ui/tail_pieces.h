// How a long text is put into a view a piece at a time. Pure; any thread.
#pragma once

#include <cstddef>
#include <string_view>

namespace quillgate {

// The start of the piece to put before what is shown, which is text[shownFrom] and after: whole
// lines, as many as fit into `maxCharacters` but at least one. `shownFrom` is the size of the text,
// or the start of a line; 0 means that all is shown.
[[nodiscard]] std::size_t beginOfPieceBefore(std::wstring_view text, std::size_t shownFrom,
                                             std::size_t maxCharacters);

// The end of the piece to put after what is shown, which is everything before text[shownTo]: whole
// lines, as many as fit into `maxCharacters` but at least one. `shownTo` is 0 or the start of a
// line.
[[nodiscard]] std::size_t endOfPieceAfter(std::wstring_view text, std::size_t shownTo,
                                          std::size_t maxCharacters);

// The start of the line that contains text[place].
[[nodiscard]] std::size_t beginOfLineAt(std::wstring_view text, std::size_t place);

}  // namespace quillgate
