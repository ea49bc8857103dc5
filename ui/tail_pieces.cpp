#include "ui/tail_pieces.h"

#include <algorithm>

namespace quillgate {
namespace {

// Whether a line break of two characters is there, which a piece does not part.
bool isInsideBreak(std::wstring_view text, std::size_t place) {
  return text.substr(place - 1).starts_with(L"\r\n");
}

}  // namespace

std::size_t beginOfPieceBefore(std::wstring_view text, std::size_t shownFrom,
                               std::size_t maxCharacters, std::size_t longestLine) {
  if (shownFrom <= maxCharacters) return 0;
  // A line starts after a line feed; the last line of the piece keeps its own.
  const std::wstring_view hidden = text.substr(0, shownFrom);
  const std::size_t firstFitting = hidden.find(L'\n', shownFrom - maxCharacters - 1);
  if (firstFitting != std::wstring_view::npos && firstFitting + 1 < shownFrom) {
    return firstFitting + 1;
  }
  const std::size_t begin = beginOfLineAt(hidden, shownFrom - 1);
  if (shownFrom - begin <= longestLine) return begin;
  const std::size_t part = shownFrom - longestLine;
  return isInsideBreak(text, part) ? part - 1 : part;
}

std::size_t endOfPieceAfter(std::wstring_view text, std::size_t shownTo, std::size_t maxCharacters,
                            std::size_t longestLine) {
  if (text.size() - shownTo <= maxCharacters) return text.size();
  const std::size_t lastFitting = beginOfLineAt(text, shownTo + maxCharacters);
  if (lastFitting > shownTo) return lastFitting;
  const std::size_t lineFeed = text.find(L'\n', shownTo + maxCharacters);
  const std::size_t end = lineFeed == std::wstring_view::npos ? text.size() : lineFeed + 1;
  if (end - shownTo <= longestLine) return end;
  const std::size_t part = shownTo + longestLine;
  return isInsideBreak(text, part) ? part + 1 : part;
}

std::size_t beginOfLineAt(std::wstring_view text, std::size_t place) {
  const std::size_t lineFeed = text.substr(0, place).rfind(L'\n');
  return lineFeed == std::wstring_view::npos ? 0 : lineFeed + 1;
}

}  // namespace quillgate
