// The main window with its indicator and the status panel.
#include <gmock/gmock.h>

#include "tests/ui/ui_test.h"
#include "ui/main_view.h"

namespace quillgate::test {
namespace {

class MainWindow : public UiTest {
 protected:
  [[nodiscard]] Control statusPanel() const { return mainControl(L"Status report"); }
  void pressStatus() const { mainControl(L"Status").press(); }
  [[nodiscard]] bool clientSizeBecomes(const Box& size) const {
    return eventually([&] { return mainWindow.clientSize() == size; });
  }

  [[nodiscard]] bool indicatorShows(const Color& color) const {
    return eventually([&] { return screenPixel(indicator(), {10, 10}) == color; });
  }

  [[nodiscard]] std::wstring report(const std::wstring& state) const {
    std::wstring text = L"Server:                       " + state + L"\n\nRules:\n";
    for (int rule = 1; rule <= 10; ++rule) {
      text +=
          L"  " + std::to_wstring(rule) + L")   OFF  TCP  local 0  ->  127.0.0.1:0  [thread:no]\n";
    }
    return text + L"\nBase directory:            " + files.baseDir +
           L"\nConfig file:                  " + files.configPath +
           L"\nLog file:                      " + files.logPath;
  }

  // The client area as it is now with the panel folded out.
  [[nodiscard]] Box unfolded() const {
    Box size = mainWindow.clientSize();
    size.height += 430;
    return size;
  }
  [[nodiscard]] static Box panelIn(const Box& client) {
    return {10, 60, client.width - 20, client.height - 70};
  }
};

TEST_F(MainWindow, IsAStripThatBelongsToNoOtherWindow) {
  start();
  EXPECT_EQ(mainWindow.text(), L"Quillgate PRO v1.1");
  EXPECT_FALSE(mainWindow.owner().isThere());
}

TEST_F(MainWindow, HasTheIndicatorAndFiveButtonsInTheirPlaces) {
  start();
  EXPECT_EQ(indicator().place(), (Box{14, 18, 20, 20}));
  EXPECT_EQ(mainControl(L"Stop server").place(), (Box{44, 6, 142, 32}));
  EXPECT_EQ(mainControl(L"Config").place(), (Box{194, 6, 142, 32}));
  EXPECT_EQ(mainControl(L"Monitor").place(), (Box{344, 6, 142, 32}));
  EXPECT_EQ(mainControl(L"Log").place(), (Box{498, 6, 82, 32}));
  EXPECT_EQ(mainControl(L"Status").place(), (Box{586, 6, 82, 32}));
}

TEST_F(MainWindow, ComesUpWithTheServerRunning) {
  start();
  EXPECT_EQ(startStop().text(), L"Stop server");
  EXPECT_TRUE(indicatorShows(kGreen));
}

TEST_F(MainWindow, DrawsTheIndicatorAsACircleWithABlackEdge) {
  start();
  ASSERT_TRUE(indicatorShows(kGreen));
  if (isShownScaled(mainWindow)) GTEST_SKIP() << "the screen is scaled: it shows no exact edges";
  const Color paper = screenPixel(indicator(), {0, 0});
  // A circle of 18 pixels at (1, 1).
  EXPECT_EQ(screenPixel(indicator(), {10, 1}), kBlack);
  EXPECT_EQ(screenPixel(indicator(), {10, 18}), kBlack);
  EXPECT_EQ(screenPixel(indicator(), {1, 10}), kBlack);
  EXPECT_EQ(screenPixel(indicator(), {18, 10}), kBlack);
  EXPECT_EQ(screenPixel(indicator(), {10, 2}), kGreen);
  EXPECT_EQ(screenPixel(indicator(), {17, 10}), kGreen);
  EXPECT_EQ(screenPixel(indicator(), {10, 0}), paper);
  EXPECT_EQ(screenPixel(indicator(), {19, 10}), paper);
  EXPECT_EQ(screenPixel(indicator(), {2, 2}), paper);
  EXPECT_NE(paper, kGreen);
  EXPECT_NE(paper, kBlack);
}

TEST_F(MainWindow, StopsAndStartsTheServer) {
  start();
  startStop().press();
  EXPECT_EQ(startStop().text(), L"Start server");
  EXPECT_TRUE(indicatorShows(kRed));
  EXPECT_EQ(files.logMessages().back(), L"Server stopped.");

  startStop().press();
  EXPECT_EQ(startStop().text(), L"Stop server");
  EXPECT_TRUE(indicatorShows(kGreen));
  EXPECT_EQ(files.logMessages().back(), L"Server started.");
}

TEST_F(MainWindow, FoldsTheStatusPanelOutAndInAgain) {
  start();
  EXPECT_FALSE(statusPanel().isShown());
  const Box folded = mainWindow.clientSize();
  const Box unfolded = this->unfolded();
  for (int round = 0; round < 2; ++round) {
    pressStatus();
    EXPECT_TRUE(clientSizeBecomes(unfolded));
    EXPECT_TRUE(statusPanel().isShown());
    EXPECT_EQ(statusPanel().place(), panelIn(unfolded));

    pressStatus();
    EXPECT_TRUE(clientSizeBecomes(folded));
    EXPECT_FALSE(statusPanel().isShown());
  }
}

TEST_F(MainWindow, KeepsThePanelsPlaceWhenItIsMinimizedAndRestored) {
  start();
  const Box unfolded = this->unfolded();
  pressStatus();
  ASSERT_TRUE(clientSizeBecomes(unfolded));
  mainWindow.minimize();
  ASSERT_TRUE(eventually([&] { return mainWindow.state() == Window::State::minimized; }));
  mainWindow.restore();
  ASSERT_TRUE(eventually([&] { return mainWindow.state() == Window::State::normal; }));
  EXPECT_TRUE(clientSizeBecomes(unfolded));
  EXPECT_TRUE(eventually([&] { return statusPanel().place() == panelIn(unfolded); }));
}

TEST_F(MainWindow, ReportsTheServerItsRulesAndTheFiles) {
  start();
  pressStatus();
  EXPECT_EQ(statusPanel().text(), report(L"RUNNING"));
}

TEST_F(MainWindow, RewritesAShownReportWhenTheServerStopsAndStarts) {
  start();
  pressStatus();
  startStop().press();
  EXPECT_EQ(statusPanel().text(), report(L"STOPPED"));
  startStop().press();
  EXPECT_EQ(statusPanel().text(), report(L"RUNNING"));
}

TEST_F(MainWindow, StopsTheServerWhenItIsClosedAndEndsWithZero) {
  start();
  EXPECT_EQ(program->close(), 0);
  const std::vector<std::wstring> messages = files.logMessages();
  ASSERT_GE(messages.size(), 2U);
  EXPECT_EQ(messages[messages.size() - 2], L"Stopping server...");
  EXPECT_EQ(messages.back(), L"Server stopped.");
}

TEST_F(MainWindow, LogsNothingWhenItIsClosedWithTheServerStopped) {
  start();
  startStop().press();
  const std::size_t lines = files.logMessages().size();
  EXPECT_EQ(program->close(), 0);
  EXPECT_EQ(files.logMessages().size(), lines);
}

TEST_F(MainWindow, ClosesWithTheStatusPanelShown) {
  start();
  pressStatus();
  EXPECT_EQ(program->close(), 0);
}

TEST_F(MainWindow, TakesClicksOfTheMouse) {
  start();
  const Box folded = mainWindow.clientSize();
  const Box unfolded = this->unfolded();
  clickWithMouse(mainControl(L"Status"));
  EXPECT_TRUE(clientSizeBecomes(unfolded));
  clickWithMouse(mainControl(L"Status"));
  EXPECT_TRUE(clientSizeBecomes(folded));
}

}  // namespace
}  // namespace quillgate::test
