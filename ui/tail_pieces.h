// How a long text is put into a view a piece at a time. Pure; any thread.
//
// A piece is whole lines, as many as fit into `maxCharacters` but at least one. Of a line that is
// longer than `longestLine`, which is at least `maxCharacters`, a piece is the part next to what is
// shown.
#pragma once

#include <cstddef>
#include <limits>
#include <string_view>

namespace quillgate {

inline constexpr std::size_t kAnyLength = std::numeric_limits<std::size_t>::max();

// The start of the piece to put before what is shown, which begins with text[shownFrom]; 0 means
// that nothing is left.
[[nodiscard]] std::size_t beginOfPieceBefore(std::wstring_view text, std::size_t shownFrom,
                                             std::size_t maxCharacters,
                                             std::size_t longestLine = kAnyLength);

// The end of the piece to put after what is shown, which ends before text[shownTo].
[[nodiscard]] std::size_t endOfPieceAfter(std::wstring_view text, std::size_t shownTo,
                                          std::size_t maxCharacters,
                                          std::size_t longestLine = kAnyLength);

// The start of the line that contains text[place].
[[nodiscard]] std::size_t beginOfLineAt(std::wstring_view text, std::size_t place);

}  // namespace quillgate
