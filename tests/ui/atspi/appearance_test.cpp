// What people see on Linux: texts at every scale, and the colours of the desktop.
#include <gmock/gmock.h>

#include <cmath>
#include <span>

#include "tests/ui/atspi/native.h"
#include "tests/ui/editor_test.h"
#include "ui/editor_view.h"
#include "ui/log_view.h"
#include "ui/main_view.h"
#include "ui/monitor_layout.h"

namespace quillgate::test {
namespace {

class ScaledWindows : public EditorTest, public testing::WithParamInterface<double> {
 protected:
  void SetUp() override {
    start({.dataFolder = dataFolder,
           .environment = {{"QT_SCALE_FACTOR", std::to_string(GetParam())}}});
  }

  [[nodiscard]] static int scaled(int pixels) {
    return static_cast<int>(std::lround(pixels * GetParam()));
  }
  // Half a pixel goes either way.
  static void expectScaled(const Window& window, const Size& size) {
    EXPECT_NEAR(window.clientSize().width, size.width * GetParam(), 0.5);
    EXPECT_NEAR(window.clientSize().height, size.height * GetParam(), 0.5);
  }

  // Fails where the text of a control is not there or touches its edges. A button's edge takes up
  // to `frame` pixels at scale 1.
  static void expectWholeText(const Window& window, const TextControl& control, int frame) {
    const Box client = x11::clientPlace(idOf(window));
    const Rectangle& place = control.place;
    const Box inside{client.x + scaled(place.x + frame), client.y + scaled(place.y + frame),
                     scaled(place.width - 2 * frame), scaled(place.height - 2 * frame)};
    EXPECT_TRUE(eventually([&] { return x11::ink(inside) != Box{}; })) << control.text;
    const Box ink = x11::ink(inside);
    EXPECT_GT(ink.width, scaled(8)) << control.text;
    EXPECT_GT(ink.height, scaled(8)) << control.text;
    EXPECT_LT(ink.x + ink.width, inside.x + inside.width) << control.text;
    EXPECT_LT(ink.y + ink.height, inside.y + inside.height) << control.text;
    EXPECT_GT(ink.y, inside.y) << control.text;
  }
};

constexpr int kButtonFrame = 4;

TEST_P(ScaledWindows, HaveTheirSizesTimesTheScale) {
  expectScaled(mainWindow, kMainSize);
  expectScaled(open(L"Config"), kEditorSize);
  expectScaled(open(L"Monitor"), kMonitorSize);
  expectScaled(open(L"Log"), kLogSize);
}

TEST_P(ScaledWindows, ShowTheirTextsWhole) {
  mainWindow.activate();
  for (const TextControl& button :
       {kStartStopButton, kConfigButton, kMonitorButton, kLogButton, kStatusButton}) {
    expectWholeText(mainWindow, button, kButtonFrame);
  }
  openEditor();
  for (const TextControl& label : kEditorLabels) expectWholeText(editor, label, 0);
  const EditorButtons buttons = editorButtons(kEditorSize.width);
  for (const TextControl& button :
       {buttons.importXml, buttons.exportXml, buttons.save, buttons.cancel}) {
    expectWholeText(editor, button, kButtonFrame);
  }
}

TEST_P(ScaledWindows, ShowTheIndicatorsColorAndItsEdge) {
  const Box client = x11::clientPlace(idOf(mainWindow));
  const auto shown = [&](double x, double y) {
    return x11::pixel({client.x + static_cast<int>((kIndicatorPlace.x + x) * GetParam()),
                       client.y + static_cast<int>((kIndicatorPlace.y + y) * GetParam())});
  };
  EXPECT_TRUE(eventually([&] { return shown(10, 10) == kGreen; }));
  EXPECT_EQ(shown(10, 3), kGreen);
  EXPECT_EQ(shown(17, 10), kGreen);
  const Color edge = shown(10, 1.5);
  EXPECT_LT(edge.red + edge.green + edge.blue, 100) << edge;
}

INSTANTIATE_TEST_SUITE_P(Ui, ScaledWindows, testing::Values(1.0, 1.5, 2.0));

// A desktop whose colours are light on dark.
class DarkDesktop : public EditorTest {
 protected:
  void SetUp() override {
    const char* const sets[] = {"Window", "View", "Button", "Tooltip"};
    std::string colors;
    for (const char* const set : sets) {
      colors += std::string("[Colors:") + set +
                "]\nBackgroundNormal=35,38,41\nForegroundNormal=239,240,241\n\n";
    }
    writeFile(settings_.file(L"kdeglobals"), colors);
    const std::string folderOfSettings = pathOf(settings_.path()).string();
    start({.dataFolder = dataFolder,
           .environment = {{"XDG_CURRENT_DESKTOP", "KDE"},
                           {"KDE_SESSION_VERSION", "5"},
                           {"XDG_CONFIG_HOME", folderOfSettings}}});
  }

  // Whether the control shows something lighter, or darker, than this limit of red, green and blue
  // together.
  [[nodiscard]] static bool shows(const Control& control, const std::function<bool(int)>& isIt) {
    const Box place = control.screenPlace();
    for (int y = 3; y < place.height - 3; ++y) {
      for (int x = 3; x < std::min(place.width, 100) - 3; ++x) {
        const Color color = x11::pixel({place.x + x, place.y + y});
        if (isIt(color.red + color.green + color.blue)) return true;
      }
    }
    return false;
  }
  static bool isLight(int sum) { return sum > 600; }
  static bool isDark(int sum) { return sum < 200; }

 private:
  TempFolder settings_;
};

TEST_F(DarkDesktop, GivesTheWindowsItsColors) {
  const Color dark{35, 38, 41};
  EXPECT_TRUE(eventually([&] { return screenPixel(mainWindow, {3, 3}) == dark; }));
  EXPECT_TRUE(eventually([&] { return screenPixel(indicator(), {10, 10}) == kGreen; }));
  EXPECT_TRUE(shows(mainControl(L"Config"), isLight)) << "the caption";
  openEditor();
  EXPECT_TRUE(eventually([&] { return screenPixel(editor, {3, 3}) == dark; }));
  EXPECT_TRUE(shows(editor.control(L"Port Forwarding Rules:"), isLight)) << "the label";
}

TEST_F(DarkDesktop, LeavesTheFieldsOfTheEditorBlackOnWhite) {
  openEditor();
  for (const Field field : {Field::localPort, Field::targetIp, Field::targetPort}) {
    EXPECT_TRUE(eventually([&] { return screenPixel(control(9, field), {80, 5}) == kWhite; }));
    EXPECT_TRUE(shows(control(9, field), isDark)) << "the text";
  }
  EXPECT_TRUE(shows(control(9, Field::enabled), [](int sum) { return sum == 3 * 255; }))
      << "the check box";
}

}  // namespace
}  // namespace quillgate::test
