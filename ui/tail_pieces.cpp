#include "ui/tail_pieces.h"

#include <algorithm>

namespace quillgate {

std::size_t beginOfPieceBefore(std::wstring_view text, std::size_t shownFrom,
                               std::size_t maxCharacters) {
  if (shownFrom <= maxCharacters) return 0;
  // A line begins behind a line feed; the last line of the piece keeps its own.
  const std::wstring_view hidden = text.substr(0, shownFrom);
  const std::size_t firstFitting = hidden.find(L'\n', shownFrom - maxCharacters - 1);
  if (firstFitting != std::wstring_view::npos && firstFitting + 1 < shownFrom) {
    return firstFitting + 1;
  }
  const std::size_t before = hidden.substr(0, shownFrom - 1).rfind(L'\n');
  return before == std::wstring_view::npos ? 0 : before + 1;
}

}  // namespace quillgate
