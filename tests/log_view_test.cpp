#include "ui/log_view.h"

#include <gtest/gtest.h>

namespace quillgate {
namespace {

TEST(LogView, FollowsTheEndOfAnEmptyList) {
  EXPECT_TRUE(followsEnd({.count = 0, .topIndex = 0, .clientHeight = 400, .itemHeight = 16}));
  EXPECT_TRUE(followsEnd({.count = -1, .topIndex = 0, .clientHeight = 400, .itemHeight = 16}));
}

TEST(LogView, FollowsTheEndWhenTheLastLineIsVisible) {
  EXPECT_TRUE(followsEnd({.count = 500, .topIndex = 475, .clientHeight = 400, .itemHeight = 16}));
}

TEST(LogView, FollowsTheEndWhenOnlyTheLastLineIsHidden) {
  EXPECT_TRUE(followsEnd({.count = 500, .topIndex = 474, .clientHeight = 400, .itemHeight = 16}));
}

TEST(LogView, StaysWhereItIsWhenTwoLinesAreHidden) {
  EXPECT_FALSE(followsEnd({.count = 500, .topIndex = 473, .clientHeight = 400, .itemHeight = 16}));
  EXPECT_FALSE(followsEnd({.count = 500, .topIndex = 0, .clientHeight = 400, .itemHeight = 16}));
}

TEST(LogView, CountsOnlyWholeVisibleLines) {
  EXPECT_TRUE(followsEnd({.count = 10, .topIndex = 6, .clientHeight = 63, .itemHeight = 16}));
  EXPECT_FALSE(followsEnd({.count = 10, .topIndex = 5, .clientHeight = 63, .itemHeight = 16}));
}

TEST(LogView, CountsLinesOfOnePixel) {
  EXPECT_TRUE(followsEnd({.count = 402, .topIndex = 1, .clientHeight = 400, .itemHeight = 1}));
  EXPECT_FALSE(followsEnd({.count = 402, .topIndex = 0, .clientHeight = 400, .itemHeight = 1}));
}

TEST(LogView, CountsOneVisibleLineInAListLowerThanALine) {
  EXPECT_TRUE(followsEnd({.count = 10, .topIndex = 8, .clientHeight = 5, .itemHeight = 16}));
  EXPECT_FALSE(followsEnd({.count = 10, .topIndex = 7, .clientHeight = 5, .itemHeight = 16}));
}

TEST(LogView, CountsNoVisibleLineWhenLinesHaveNoHeight) {
  EXPECT_TRUE(followsEnd({.count = 10, .topIndex = 9, .clientHeight = 400, .itemHeight = 0}));
  EXPECT_FALSE(followsEnd({.count = 10, .topIndex = 8, .clientHeight = 400, .itemHeight = 0}));
  EXPECT_FALSE(followsEnd({.count = 10, .topIndex = 8, .clientHeight = 400, .itemHeight = -1}));
}

TEST(LogView, KeepsFiveHundredLines) {
  EXPECT_EQ(surplusLines(0), 0);
  EXPECT_EQ(surplusLines(500), 0);
  EXPECT_EQ(surplusLines(501), 1);
  EXPECT_EQ(surplusLines(1700), 1200);
}

TEST(LogView, TakesOfManyNewLinesThoseThatCanStay) {
  std::vector<std::wstring> lines(500, L"newer");
  EXPECT_EQ(newestOf(lines).data(), lines.data());
  EXPECT_EQ(newestOf(lines).size(), 500u);
  lines.insert(lines.begin(), L"oldest");
  EXPECT_EQ(newestOf(lines).data(), lines.data() + 1);
  EXPECT_EQ(newestOf(lines).size(), 500u);
  EXPECT_TRUE(newestOf({}).empty());
}

}  // namespace
}  // namespace quillgate
