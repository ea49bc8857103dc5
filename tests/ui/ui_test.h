// What the tests of the program's windows have in common.
#pragma once

#include <gtest/gtest.h>

#include <memory>

#include "tests/support/deadline.h"
#include "tests/support/temp_folder.h"
#include "tests/ui/controls.h"
#include "tests/ui/program.h"
#include "ui/win32/control_ids.h"

namespace quillgate::test {

// A private folder for the program's data, and the program with its main window once it is started.
class UiTest : public testing::Test {
 protected:
  // Whatever a test was about, the program ends in order, and before folders of the test go.
  void TearDown() override {
    if (program && program->mainWindow() != nullptr) {
      EXPECT_EQ(program->close(), 0u);
    }
    program.reset();
  }

  void start(Launch launch) {
    program = std::make_unique<Program>(launch);
    mainWindow = program->mainWindow();
    ASSERT_NE(mainWindow, nullptr);
    send(mainWindow, WM_NULL);  // answered by the message loop
  }
  void start() { start({.localAppData = folder.path()}); }

  [[nodiscard]] HWND mainControl(int id) const { return GetDlgItem(mainWindow, id); }
  [[nodiscard]] HWND indicator() const {
    return FindWindowExW(mainWindow, nullptr, L"QuillgateIndicator", nullptr);
  }

  TempFolder folder;
  ProgramFiles files{folder.path()};
  std::unique_ptr<Program> program;
  HWND mainWindow = nullptr;
};

}  // namespace quillgate::test
