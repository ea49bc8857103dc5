#include "ui/tail_pieces.h"

#include <algorithm>

namespace quillgate {

std::size_t beginOfPieceBefore(std::wstring_view text, std::size_t shownFrom,
                               std::size_t maxCharacters) {
  if (shownFrom <= maxCharacters) return 0;
  // A line starts after a line feed; the last line of the piece keeps its own.
  const std::wstring_view hidden = text.substr(0, shownFrom);
  const std::size_t firstFitting = hidden.find(L'\n', shownFrom - maxCharacters - 1);
  if (firstFitting != std::wstring_view::npos && firstFitting + 1 < shownFrom) {
    return firstFitting + 1;
  }
  return beginOfLineAt(hidden, shownFrom - 1);
}

std::size_t endOfPieceAfter(std::wstring_view text, std::size_t shownTo,
                            std::size_t maxCharacters) {
  if (text.size() - shownTo <= maxCharacters) return text.size();
  const std::size_t lastFitting = beginOfLineAt(text, shownTo + maxCharacters);
  if (lastFitting > shownTo) return lastFitting;
  const std::size_t lineFeed = text.find(L'\n', shownTo + maxCharacters);
  return lineFeed == std::wstring_view::npos ? text.size() : lineFeed + 1;
}

std::size_t beginOfLineAt(std::wstring_view text, std::size_t place) {
  const std::size_t lineFeed = text.substr(0, place).rfind(L'\n');
  return lineFeed == std::wstring_view::npos ? 0 : lineFeed + 1;
}

}  // namespace quillgate
