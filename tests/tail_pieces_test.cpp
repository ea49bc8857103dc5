#include "ui/tail_pieces.h"

#include <gtest/gtest.h>

#include <random>
#include <string>

namespace quillgate {
namespace {

TEST(TailPieces, TakeAllOfAShortText) {
  EXPECT_EQ(beginOfPieceBefore(L"", 0, 10), 0U);
  EXPECT_EQ(beginOfPieceBefore(L"a\nb\n", 4, 4), 0U);
  EXPECT_EQ(beginOfPieceBefore(L"no line feed", 12, 12), 0U);
}

TEST(TailPieces, TakeAsManyWholeLinesAsFit) {
  const std::wstring text = L"aa\nbb\ncc\n";
  EXPECT_EQ(beginOfPieceBefore(text, 9, 8), 3U);
  EXPECT_EQ(beginOfPieceBefore(text, 9, 6), 3U);
  EXPECT_EQ(beginOfPieceBefore(text, 9, 5), 6U);
  EXPECT_EQ(beginOfPieceBefore(text, 6, 3), 3U);
}

TEST(TailPieces, TakeOneLineThatDoesNotFit) {
  EXPECT_EQ(beginOfPieceBefore(L"aa\nbbbbbbbb\n", 12, 4), 3U);
  EXPECT_EQ(beginOfPieceBefore(L"aa\nbbbbbbbb", 11, 4), 3U);
  EXPECT_EQ(beginOfPieceBefore(L"bbbbbbbb\n", 9, 4), 0U);
}

TEST(TailPieces, TakeWholeLinesBelow) {
  const std::wstring text = L"aa\nbb\ncc\n";
  EXPECT_EQ(endOfPieceAfter(text, 0, 9), 9U);
  EXPECT_EQ(endOfPieceAfter(text, 0, 8), 6U);
  EXPECT_EQ(endOfPieceAfter(text, 0, 6), 6U);
  EXPECT_EQ(endOfPieceAfter(text, 0, 5), 3U);
  EXPECT_EQ(endOfPieceAfter(text, 3, 3), 6U);
  EXPECT_EQ(endOfPieceAfter(text, 9, 3), 9U);
}

TEST(TailPieces, TakeOneLineBelowThatDoesNotFit) {
  EXPECT_EQ(endOfPieceAfter(L"bbbbbbbb\naa\n", 0, 4), 9U);
  EXPECT_EQ(endOfPieceAfter(L"aa\nbbbbbbbb", 3, 4), 11U);
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
  for (int round = 0; round < 200; ++round) {
    std::wstring text(random() % 400, L'x');
    for (wchar_t& c : text) {
      if (random() % 9 == 0) c = L'\n';
    }
    std::wstring joined;
    for (std::size_t from = text.size(); from > 0;) {
      const std::size_t begin = beginOfPieceBefore(text, from, 1 + random() % 50);
      ASSERT_LT(begin, from);
      ASSERT_TRUE(begin == 0 || text[begin - 1] == L'\n');
      joined.insert(0, text, begin, from - begin);
      from = begin;
    }
    ASSERT_EQ(joined, text);

    joined.clear();
    while (joined.size() < text.size()) {
      const std::size_t end = endOfPieceAfter(text, joined.size(), 1 + random() % 50);
      ASSERT_GT(end, joined.size());
      ASSERT_TRUE(end == text.size() || text[end - 1] == L'\n');
      joined.append(text, joined.size(), end - joined.size());
    }
    ASSERT_EQ(joined, text);
  }
}

}  // namespace
}  // namespace quillgate
