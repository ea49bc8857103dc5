// What the tests of the program's windows have in common.
#pragma once

#include <gtest/gtest.h>

#include <memory>

#include "tests/support/deadline.h"
#include "tests/support/temp_folder.h"
#include "tests/ui/driver.h"
#include "tests/ui/program.h"
#include "ui/main_view.h"

namespace quillgate::test {

inline constexpr Color kWhite{255, 255, 255};
inline constexpr Color kBlack{0, 0, 0};
inline constexpr Color kGreen{0, 180, 0};
inline constexpr Color kRed{200, 0, 0};

// A private folder for the program's data, and the program with its main window once it is started.
class UiTest : public testing::Test {
 protected:
  // Whatever a test was about, the program ends in order, and before folders of the test go.
  void TearDown() override {
    if (program && program->mainWindow().isThere()) {
      EXPECT_EQ(program->close(), 0);
    }
    program.reset();
  }

  void start(const Launch& launch) {
    program = std::make_unique<Program>(launch);
    mainWindow = program->mainWindow();
    ASSERT_TRUE(mainWindow.isThere());
    // The server is started once the window is shown.
    ASSERT_TRUE(eventually([this] { return startStop().text() == startStopCaption(true); }));
  }
  void start() { start({.dataFolder = dataFolder}); }

  [[nodiscard]] Control mainControl(const std::wstring& name) const {
    return mainWindow.control(name);
  }
  // The button that starts or stops the server, whatever its caption says.
  [[nodiscard]] Control startStop() const {
    const Control stop = mainControl(startStopCaption(true));
    return stop.isThere() ? stop : mainControl(startStopCaption(false));
  }
  [[nodiscard]] Control indicator() const {
    const Control running = mainControl(indicatorName(true));
    return running.isThere() ? running : mainControl(indicatorName(false));
  }

  // Presses a button of the main window that opens the window with this title, and waits for it.
  [[nodiscard]] Window open(const std::wstring& title) const {
    mainControl(title).press();
    return program->waitForWindow(title);
  }

  TempFolder folder;
  const std::wstring dataFolder = makeDataFolder(folder.path());
  ProgramFiles files{dataFolder};
  std::unique_ptr<Program> program;
  Window mainWindow;
};

}  // namespace quillgate::test
