#include "ui/main_view.h"

#include <gtest/gtest.h>

namespace quillgate {
namespace {

TEST(MainView, NamesTheButtonAfterWhatAClickDoes) {
  EXPECT_STREQ(startStopCaption(true), L"Stop server");
  EXPECT_STREQ(startStopCaption(false), L"Start server");
}

TEST(MainView, IsGreenWhileTheServerRunsAndRedOtherwise) {
  const Rgb green = indicatorColor(true);
  EXPECT_EQ(green.red, 0);
  EXPECT_EQ(green.green, 180);
  EXPECT_EQ(green.blue, 0);
  const Rgb red = indicatorColor(false);
  EXPECT_EQ(red.red, 200);
  EXPECT_EQ(red.green, 0);
  EXPECT_EQ(red.blue, 0);
}

TEST(MainView, TellsScreenReadersWhetherTheServerRuns) {
  EXPECT_STREQ(indicatorName(true), L"Server running");
  EXPECT_STREQ(indicatorName(false), L"Server stopped");
}

TEST(MainView, LeavesTenPixelsAroundTheStatusPanel) {
  EXPECT_EQ(statusPanelPlace({680, 480}), (Rectangle{10, 60, 660, 410}));
}

void expectCircle(const Circle& circle, int x, int y, int diameter) {
  EXPECT_EQ(circle.x, x);
  EXPECT_EQ(circle.y, y);
  EXPECT_EQ(circle.diameter, diameter);
}

TEST(MainView, CentresTheIndicatorsCircle) {
  expectCircle(indicatorCircle({20, 20}), 1, 1, 18);
  expectCircle(indicatorCircle({18, 18}), 1, 1, 16);
  expectCircle(indicatorCircle({40, 20}), 11, 1, 18);
  expectCircle(indicatorCircle({20, 41}), 1, 11, 18);
}

TEST(MainView, DrawsACircleOfTwoPixelsWhenThereIsNoRoom) {
  expectCircle(indicatorCircle({1, 1}), 0, 0, 2);
  expectCircle(indicatorCircle({3, 3}), 0, 0, 2);
  expectCircle(indicatorCircle({0, 0}), -1, -1, 2);
}

}  // namespace
}  // namespace quillgate
