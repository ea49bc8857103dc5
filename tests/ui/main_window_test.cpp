// The main window with its indicator and the status panel.
#include <gmock/gmock.h>

#include <utility>

#include "tests/ui/ui_test.h"

namespace quillgate::test {
namespace {

using testing::ElementsAre;

constexpr COLORREF kWhite = RGB(255, 255, 255);
constexpr COLORREF kBlack = RGB(0, 0, 0);
constexpr COLORREF kGreen = RGB(0, 180, 0);
constexpr COLORREF kRed = RGB(200, 0, 0);

class MainWindow : public UiTest {
 protected:
  [[nodiscard]] HWND statusPanel() const { return mainControl(IDC_STATUS_TEXT); }

  [[nodiscard]] bool indicatorShows(COLORREF color) const {
    return eventually([&] { return screenPixel(indicator(), 10, 10) == color; });
  }

  [[nodiscard]] std::wstring report(const std::wstring& state,
                                    const std::wstring& firstRule) const {
    std::wstring text =
        L"Server:                       " + state + L"\r\n\r\nRules:\r\n" + firstRule;
    for (int rule = 2; rule <= 10; ++rule) {
      text += L"  " + std::to_wstring(rule) +
              L")   OFF  TCP  local 0  ->  127.0.0.1:0  [thread:no]\r\n";
    }
    return text + L"\r\nBase directory:            " + files.baseDir +
           L"\r\nConfig file:                  " + files.configPath +
           L"\r\nLog file:                      " + files.logPath;
  }
};

const wchar_t kDefaultRule[] = L"  1)   OFF  TCP  local 0  ->  127.0.0.1:0  [thread:no]\r\n";

TEST_F(MainWindow, IsAFixedStripWithACaptionAndAMinimizeBox) {
  start();
  EXPECT_EQ(textOf(mainWindow), L"Quillgate PRO v1.1");
  EXPECT_EQ(styleOf(mainWindow), 0x00CA0000u | WS_VISIBLE | WS_CLIPSIBLINGS);
  EXPECT_EQ(exStyleOf(mainWindow), static_cast<DWORD>(WS_EX_WINDOWEDGE));
  EXPECT_EQ(outerSize(mainWindow), (Box{0, 0, 696, 90}));
  EXPECT_EQ(GetWindow(mainWindow, GW_OWNER), nullptr);
  EXPECT_EQ(GetMenu(mainWindow), nullptr);
}

TEST_F(MainWindow, HasClassesWithoutAnythingSpecial) {
  start();
  for (const HWND window : {mainWindow, indicator()}) {
    EXPECT_EQ(GetClassLongW(window, GCL_STYLE), 0u);
    EXPECT_EQ(GetClassLongW(window, GCL_CBCLSEXTRA), 0u);
    EXPECT_EQ(GetClassLongW(window, GCL_CBWNDEXTRA), 0u);
  }
}

TEST_F(MainWindow, HasTheIndicatorAndFiveButtons) {
  start();
  std::vector<std::pair<std::wstring, std::wstring>> controls;
  std::vector<int> ids;
  for (const HWND child : childrenOf(mainWindow)) {
    ids.push_back(GetDlgCtrlID(child));
    controls.emplace_back(classOf(child), textOf(child));
    EXPECT_EQ(styleOf(child) & ~static_cast<DWORD>(WS_CLIPSIBLINGS), WS_CHILD | WS_VISIBLE);
    EXPECT_EQ(exStyleOf(child), 0u);
  }
  EXPECT_THAT(ids, ElementsAre(0, 1001, 1002, 1005, 1003, 1004));
  EXPECT_THAT(
      controls,
      ElementsAre(std::pair(L"QuillgateIndicator", L""), std::pair(L"Button", L"Stop server"),
                  std::pair(L"Button", L"Config"), std::pair(L"Button", L"Monitor"),
                  std::pair(L"Button", L"Log"), std::pair(L"Button", L"Status")));
}

TEST_F(MainWindow, PlacesItsControlsWhenItIsFirstShown) {
  start();
  EXPECT_EQ(placeOf(indicator()), (Box{14, 18, 20, 20}));
  EXPECT_EQ(placeOf(mainControl(1001)), (Box{44, 6, 142, 32}));
  EXPECT_EQ(placeOf(mainControl(1002)), (Box{194, 6, 142, 32}));
  EXPECT_EQ(placeOf(mainControl(1005)), (Box{344, 6, 142, 32}));
  EXPECT_EQ(placeOf(mainControl(1003)), (Box{498, 6, 82, 32}));
  EXPECT_EQ(placeOf(mainControl(1004)), (Box{586, 6, 82, 32}));
}

TEST_F(MainWindow, ShowsItsCaptionsInTheProgramsFont) {
  start();
  for (const int id : {1001, 1002, 1003, 1004, 1005}) {
    const HWND button = mainControl(id);
    EXPECT_EQ(screenInk(button), inkOfText(textOf(button))) << textOf(button);
  }
}

TEST_F(MainWindow, IsPaintedInTheSystemsWindowColor) {
  start();
  EXPECT_TRUE(
      eventually([&] { return screenPixel(mainWindow, 5, 5) == GetSysColor(COLOR_WINDOW); }));
}

TEST_F(MainWindow, ComesUpWithTheServerRunning) {
  start();
  EXPECT_EQ(textOf(mainControl(IDC_START_STOP)), L"Stop server");
  EXPECT_TRUE(indicatorShows(kGreen));
}

TEST_F(MainWindow, DrawsTheIndicatorAsACircleWithABlackEdge) {
  start();
  ASSERT_TRUE(indicatorShows(kGreen));
  // A circle of 18 pixels at (1, 1).
  EXPECT_EQ(screenPixel(indicator(), 10, 1), kBlack);
  EXPECT_EQ(screenPixel(indicator(), 10, 18), kBlack);
  EXPECT_EQ(screenPixel(indicator(), 1, 10), kBlack);
  EXPECT_EQ(screenPixel(indicator(), 18, 10), kBlack);
  EXPECT_EQ(screenPixel(indicator(), 10, 2), kGreen);
  EXPECT_EQ(screenPixel(indicator(), 17, 10), kGreen);
  EXPECT_EQ(screenPixel(indicator(), 10, 0), kWhite);
  EXPECT_EQ(screenPixel(indicator(), 19, 10), kWhite);
  EXPECT_EQ(screenPixel(indicator(), 2, 2), kWhite);
}

TEST_F(MainWindow, StopsAndStartsTheServer) {
  start();
  click(mainControl(IDC_START_STOP));
  EXPECT_EQ(textOf(mainControl(IDC_START_STOP)), L"Start server");
  EXPECT_TRUE(indicatorShows(kRed));
  EXPECT_EQ(files.logMessages().back(), L"Server stopped.");

  click(mainControl(IDC_START_STOP));
  EXPECT_EQ(textOf(mainControl(IDC_START_STOP)), L"Stop server");
  EXPECT_TRUE(indicatorShows(kGreen));
  EXPECT_EQ(files.logMessages().back(), L"Server started.");
}

TEST_F(MainWindow, TakesAnyNotificationOfAButtonForAClick) {
  start();
  EXPECT_EQ(sendCommand(mainWindow, IDC_START_STOP, BN_SETFOCUS), 0);
  EXPECT_EQ(textOf(mainControl(IDC_START_STOP)), L"Start server");
  EXPECT_EQ(sendCommand(mainWindow, IDC_START_STOP, 0x7777), 0);
  EXPECT_EQ(textOf(mainControl(IDC_START_STOP)), L"Stop server");
}

TEST_F(MainWindow, IgnoresCommandsItDoesNotKnow) {
  start();
  ASSERT_TRUE(files.waitForLog(L"Server started."));
  const std::size_t lines = files.logMessages().size();
  for (const int id : {0, 1000, 1006, IDC_STATUS_TEXT, 2002, 0xFFFF}) {
    EXPECT_EQ(sendCommand(mainWindow, id), 0);
  }
  EXPECT_EQ(outerSize(mainWindow), (Box{0, 0, 696, 90}));
  EXPECT_EQ(files.logMessages().size(), lines);
}

TEST_F(MainWindow, FoldsTheStatusPanelOutAndInAgain) {
  start();
  EXPECT_EQ(statusPanel(), nullptr);
  const HWND statusButton = mainControl(IDC_STATUS);

  click(statusButton);
  EXPECT_EQ(outerSize(mainWindow), (Box{0, 0, 696, 90 + 430}));
  const HWND panel = statusPanel();
  ASSERT_NE(panel, nullptr);
  const Box client = clientSize(mainWindow);
  EXPECT_EQ(placeOf(panel), (Box{10, 60, client.width - 20, client.height - 70}));
  EXPECT_TRUE(IsWindowVisible(panel));

  click(statusButton);
  EXPECT_EQ(outerSize(mainWindow), (Box{0, 0, 696, 90}));
  EXPECT_EQ(statusPanel(), panel);
  EXPECT_FALSE(IsWindowVisible(panel));

  click(statusButton);
  EXPECT_EQ(outerSize(mainWindow), (Box{0, 0, 696, 90 + 430}));
  EXPECT_EQ(statusPanel(), panel);
  EXPECT_EQ(placeOf(panel), (Box{10, 60, client.width - 20, client.height - 70}));
  EXPECT_TRUE(IsWindowVisible(panel));
}

TEST_F(MainWindow, GrowsAndShrinksByTheSameAmountWhateverItsHeight) {
  start();
  RECT before{};
  GetWindowRect(mainWindow, &before);
  SetWindowPos(mainWindow, nullptr, before.left, before.top, 720, 300, SWP_NOZORDER);
  sendCommand(mainWindow, IDC_STATUS);
  EXPECT_EQ(outerSize(mainWindow), (Box{0, 0, 720, 730}));
  const Box client = clientSize(mainWindow);
  EXPECT_EQ(placeOf(statusPanel()), (Box{10, 60, client.width - 20, client.height - 70}));
  sendCommand(mainWindow, IDC_STATUS);
  EXPECT_EQ(outerSize(mainWindow), (Box{0, 0, 720, 300}));
  RECT after{};
  GetWindowRect(mainWindow, &after);
  EXPECT_EQ(after.left, before.left);
  EXPECT_EQ(after.top, before.top);
}

TEST_F(MainWindow, FitsAShownStatusPanelIntoAnotherSize) {
  start();
  sendCommand(mainWindow, IDC_STATUS);
  setClientSize(mainWindow, 500, 400);
  EXPECT_EQ(placeOf(statusPanel()), (Box{10, 60, 480, 330}));
  EXPECT_EQ(placeOf(mainControl(IDC_STATUS)), (Box{586, 6, 82, 32}));

  sendCommand(mainWindow, IDC_STATUS);
  setClientSize(mainWindow, 600, 100);
  EXPECT_EQ(placeOf(statusPanel()), (Box{10, 60, 480, 330})) << "a hidden panel stays as it is";
}

TEST_F(MainWindow, KeepsThePanelsPlaceWhenItIsMinimizedAndRestored) {
  start();
  sendCommand(mainWindow, IDC_STATUS);
  const Box place = placeOf(statusPanel());
  ShowWindow(mainWindow, SW_MINIMIZE);
  ASSERT_TRUE(eventually([&] { return IsIconic(mainWindow) != 0; }));
  ShowWindow(mainWindow, SW_RESTORE);
  ASSERT_TRUE(eventually([&] { return IsIconic(mainWindow) == 0; }));
  EXPECT_EQ(outerSize(mainWindow), (Box{0, 0, 696, 90 + 430}));
  EXPECT_TRUE(eventually([&] { return placeOf(statusPanel()) == place; }));
}

TEST_F(MainWindow, ShowsTheReportInAReadOnlyMultiLineEdit) {
  start();
  sendCommand(mainWindow, IDC_STATUS);
  EXPECT_EQ(classOf(statusPanel()), L"Edit");
  EXPECT_EQ(styleOf(statusPanel()) & ~static_cast<DWORD>(WS_CLIPSIBLINGS),
            WS_CHILD | WS_VISIBLE | WS_VSCROLL | ES_MULTILINE | ES_AUTOVSCROLL | ES_READONLY);
  EXPECT_EQ(exStyleOf(statusPanel()), static_cast<DWORD>(WS_EX_CLIENTEDGE));
}

TEST_F(MainWindow, ReportsTheServerItsRulesAndTheFiles) {
  start();
  sendCommand(mainWindow, IDC_STATUS);
  EXPECT_EQ(textOf(statusPanel()), report(L"RUNNING", kDefaultRule));
}

TEST_F(MainWindow, RewritesAShownReportWhenTheServerStopsAndStarts) {
  start();
  sendCommand(mainWindow, IDC_STATUS);
  click(mainControl(IDC_START_STOP));
  EXPECT_EQ(textOf(statusPanel()), report(L"STOPPED", kDefaultRule));
  click(mainControl(IDC_START_STOP));
  EXPECT_EQ(textOf(statusPanel()), report(L"RUNNING", kDefaultRule));
}

TEST_F(MainWindow, LeavesAHiddenReportUntilItIsShownAgain) {
  start();
  sendCommand(mainWindow, IDC_STATUS);
  sendCommand(mainWindow, IDC_STATUS);
  click(mainControl(IDC_START_STOP));
  EXPECT_EQ(textOf(statusPanel()), report(L"RUNNING", kDefaultRule));
  sendCommand(mainWindow, IDC_STATUS);
  EXPECT_EQ(textOf(statusPanel()), report(L"STOPPED", kDefaultRule));
}

TEST_F(MainWindow, HandlesAPostedMessageAmongManyClicks) {
  start();
  for (int i = 0; i < 40; ++i) clickWithMouse(mainControl(IDC_STATUS));
  PostMessageW(mainWindow, WM_COMMAND, IDC_START_STOP, 0);
  ASSERT_TRUE(files.waitForLog(L"Stopping server..."));
  const int height = outerSize(mainWindow).height;
  EXPECT_TRUE(eventually([&] { return outerSize(mainWindow).height != height; }))
      << "it came after the last click";
}

TEST_F(MainWindow, StopsTheServerWhenItIsClosedAndEndsWithZero) {
  start();
  EXPECT_EQ(program->close(), 0u);
  const std::vector<std::wstring> messages = files.logMessages();
  ASSERT_GE(messages.size(), 2u);
  EXPECT_EQ(messages[messages.size() - 2], L"Stopping server...");
  EXPECT_EQ(messages.back(), L"Server stopped.");
}

TEST_F(MainWindow, LogsNothingWhenItIsClosedWithTheServerStopped) {
  start();
  click(mainControl(IDC_START_STOP));
  const std::size_t lines = files.logMessages().size();
  EXPECT_EQ(program->close(), 0u);
  EXPECT_EQ(files.logMessages().size(), lines);
}

TEST_F(MainWindow, ClosesFromTheSystemMenuAndWithTheStatusPanelShown) {
  start();
  sendCommand(mainWindow, IDC_STATUS);
  PostMessageW(mainWindow, WM_SYSCOMMAND, SC_CLOSE, 0);
  EXPECT_EQ(program->waitForExit(), 0u);
}

}  // namespace
}  // namespace quillgate::test
