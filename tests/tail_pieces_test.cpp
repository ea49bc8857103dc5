#include "ui/tail_pieces.h"

#include <gtest/gtest.h>

#include <random>
#include <string>

namespace quillgate {
namespace {

// A piece before or after what is shown: from `text` and where that begins or ends, to where it
// does with the piece.
struct Piece {
  std::wstring text;
  std::size_t shown;
  std::size_t maxCharacters;
  std::size_t expected;
  std::size_t longestLine = kAnyLength;
};

TEST(TailPieces, TakeWholeLinesAboveThatFitOrOneThatDoesNot) {
  const Piece pieces[] = {
      {L"", 0, 10, 0},
      {L"a\nb\n", 4, 4, 0},
      {L"no line feed", 12, 12, 0},
      {L"aa\nbb\ncc\n", 9, 8, 3},
      {L"aa\nbb\ncc\n", 9, 6, 3},
      {L"aa\nbb\ncc\n", 9, 5, 6},
      {L"aa\nbb\ncc\n", 6, 3, 3},
      {L"aa\nbbbbbbbb\n", 12, 4, 3},
      {L"aa\nbbbbbbbb", 11, 4, 3},
      {L"bbbbbbbb\n", 9, 4, 0},
  };
  for (const Piece& piece : pieces) {
    EXPECT_EQ(beginOfPieceBefore(piece.text, piece.shown, piece.maxCharacters), piece.expected)
        << testing::PrintToString(piece.text) << piece.maxCharacters;
  }
}

TEST(TailPieces, TakeWholeLinesBelowThatFitOrOneThatDoesNot) {
  const Piece pieces[] = {
      {L"aa\nbb\ncc\n", 0, 9, 9},   {L"aa\nbb\ncc\n", 0, 8, 6},  {L"aa\nbb\ncc\n", 0, 6, 6},
      {L"aa\nbb\ncc\n", 0, 5, 3},   {L"aa\nbb\ncc\n", 3, 3, 6},  {L"aa\nbb\ncc\n", 9, 3, 9},
      {L"bbbbbbbb\naa\n", 0, 4, 9}, {L"aa\nbbbbbbbb", 3, 4, 11},
  };
  for (const Piece& piece : pieces) {
    EXPECT_EQ(endOfPieceAfter(piece.text, piece.shown, piece.maxCharacters), piece.expected)
        << testing::PrintToString(piece.text) << piece.maxCharacters;
  }
}

TEST(TailPieces, TakeTheNearPartOfALineThatIsTooLong) {
  const Piece above[] = {
      {L"aa\nbbbbbbbb\n", 12, 4, 3, 9},  // not too long
      {L"aa\nbbbbbbbb\n", 12, 4, 4, 8}, {L"aa\nbbbbbbbb\n", 12, 4, 8, 4},
      {L"aa\nbbbbbbbb\n", 8, 4, 4, 4},   // the next part of it
      {L"aa\nbbbbbbbb\n", 4, 4, 0, 4},   // the rest of it, and more
      {L"aa\r\nbbbb\r\n", 10, 1, 8, 1},  // no line break is parted
      {L"aa\r\nbbbb\r\n", 10, 1, 8, 2},
  };
  for (const Piece& piece : above) {
    EXPECT_EQ(beginOfPieceBefore(piece.text, piece.shown, piece.maxCharacters, piece.longestLine),
              piece.expected)
        << testing::PrintToString(piece.text) << piece.longestLine;
  }
  const Piece below[] = {
      {L"bbbbbbbb\naa\n", 0, 4, 9, 9},  {L"bbbbbbbb\naa\n", 0, 4, 8, 8},
      {L"bbbbbbbb\naa\n", 0, 4, 4, 4},  {L"bbbbbbbb\naa\n", 4, 4, 8, 4},
      {L"bbbbbbbb\naa\n", 8, 4, 12, 4}, {L"bbbb\r\naa\r\n", 0, 4, 4, 4},
      {L"bbbb\r\naa\r\n", 0, 5, 6, 5},
  };
  for (const Piece& piece : below) {
    EXPECT_EQ(endOfPieceAfter(piece.text, piece.shown, piece.maxCharacters, piece.longestLine),
              piece.expected)
        << testing::PrintToString(piece.text) << piece.longestLine;
  }
}

TEST(TailPieces, BeginWithALine) {
  EXPECT_EQ(beginOfLineAt(L"", 0), 0U);
  EXPECT_EQ(beginOfLineAt(L"aa\nbb\n", 2), 0U);
  EXPECT_EQ(beginOfLineAt(L"aa\nbb\n", 3), 3U);
  EXPECT_EQ(beginOfLineAt(L"aa\nbb\n", 5), 3U);
  EXPECT_EQ(beginOfLineAt(L"aa\nbb\n", 6), 6U);
}

TEST(TailPieces, JoinToTheWholeText) {
  std::minstd_rand random(7);
  for (int round = 0; round < 400; ++round) {
    const bool cutsLines = round % 2 == 1;
    std::wstring text(random() % 400, L'x');
    for (wchar_t& c : text) {
      if (random() % 9 == 0) c = L'\n';
    }
    std::wstring joined;
    for (std::size_t from = text.size(); from > 0;) {
      const std::size_t most = 1 + random() % 50;
      const std::size_t begin = beginOfPieceBefore(text, from, most, cutsLines ? most : kAnyLength);
      ASSERT_LT(begin, from);
      ASSERT_TRUE(cutsLines ? from - begin <= most : begin == 0 || text[begin - 1] == L'\n');
      joined.insert(0, text, begin, from - begin);
      from = begin;
    }
    ASSERT_EQ(joined, text);

    joined.clear();
    while (joined.size() < text.size()) {
      const std::size_t most = 1 + random() % 50;
      const std::size_t end =
          endOfPieceAfter(text, joined.size(), most, cutsLines ? most : kAnyLength);
      ASSERT_GT(end, joined.size());
      ASSERT_TRUE(cutsLines ? end - joined.size() <= most
                            : end == text.size() || text[end - 1] == L'\n');
      joined.append(text, joined.size(), end - joined.size());
    }
    ASSERT_EQ(joined, text);
  }
}

}  // namespace
}  // namespace quillgate
