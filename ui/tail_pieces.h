// How a long text is put into a view a piece at a time, the newest lines first. Pure; any thread.
#pragma once

#include <cstddef>
#include <string_view>

namespace quillgate {

// Where the piece begins that goes in front of what is shown already, text[shownFrom] and after:
// whole lines, as many as fit into `maxCharacters` but at least one. `shownFrom` is the size of the
// text, or the beginning of a line; 0 means that all is shown.
[[nodiscard]] std::size_t beginOfPieceBefore(std::wstring_view text, std::size_t shownFrom,
                                             std::size_t maxCharacters);

}  // namespace quillgate
