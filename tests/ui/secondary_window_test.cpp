// The windows behind the main window's buttons: each at most once, belonging to the main window.
#include "tests/ui/ui_test.h"

namespace quillgate::test {
namespace {

struct Secondary {
  const char* name;
  const wchar_t* title;  // and the caption of its button
};

class SecondaryWindow : public UiTest, public testing::WithParamInterface<Secondary> {
 protected:
  [[nodiscard]] Window openIt() const { return open(GetParam().title); }
  [[nodiscard]] std::vector<Window> all() const { return program->windows(GetParam().title); }
};

TEST_P(SecondaryWindow, BelongsToTheMainWindow) {
  start();
  EXPECT_TRUE(all().empty());
  const Window window = openIt();
  ASSERT_TRUE(window.isThere());
  EXPECT_EQ(window.text(), GetParam().title);
  EXPECT_EQ(window.owner(), mainWindow);
}

TEST_P(SecondaryWindow, IsBroughtToTheFrontInsteadOfOpenedTwice) {
  start();
  const Window window = openIt();
  ASSERT_TRUE(eventually([&] { return window.isActive(); }));
  mainWindow.activate();
  ASSERT_TRUE(eventually([&] { return mainWindow.isActive(); }));
  EXPECT_EQ(openIt(), window);
  EXPECT_EQ(all().size(), 1U);
  EXPECT_TRUE(eventually([&] { return window.isActive(); }));
}

TEST_P(SecondaryWindow, IsRestoredWhenItIsMinimizedOrMaximized) {
  start();
  const Window window = openIt();
  ASSERT_TRUE(window.isThere());
  const Box normal = window.clientSize();
  for (const auto change : {&Window::minimize, &Window::maximize}) {
    (window.*change)();
    ASSERT_TRUE(eventually([&] { return window.state() != Window::State::normal; }));
    mainControl(GetParam().title).press();
    EXPECT_TRUE(eventually([&] { return window.state() == Window::State::normal; }));
    EXPECT_TRUE(eventually([&] { return window.clientSize() == normal; }));
    EXPECT_EQ(all().size(), 1U);
  }
}

TEST_P(SecondaryWindow, OpensAfreshAfterItWasClosed) {
  start();
  for (int round = 0; round < 3; ++round) {
    const Window window = openIt();
    ASSERT_TRUE(window.isThere());
    window.close();
    EXPECT_TRUE(eventually([&] { return all().empty(); }));
  }
  EXPECT_EQ(openIt().text(), GetParam().title);
  EXPECT_EQ(all().size(), 1U);
  EXPECT_TRUE(mainWindow.isShown());
}

TEST_P(SecondaryWindow, GoesWithTheMainWindow) {
  start();
  ASSERT_TRUE(openIt().isThere());
  EXPECT_EQ(program->close(), 0);
  EXPECT_EQ(files.logMessages().back(), L"Server stopped.");
}

TEST_P(SecondaryWindow, DoesNotCloseOnEscape) {
  start();
  const Window window = openIt();
  ASSERT_TRUE(eventually([&] { return window.isActive(); }));
  typeKeys({Key::escape});
  // Keys are taken in their order, so the one before has been, too.
  mainWindow.activate();
  ASSERT_TRUE(eventually([&] { return mainWindow.isActive(); }));
  typeKeys({Key::escape});
  startStop().press();
  EXPECT_EQ(startStop().text(), L"Start server");
  EXPECT_TRUE(window.isShown());
  EXPECT_TRUE(mainWindow.isShown());
}

constexpr Secondary kSecondaries[] = {
    {"Config", L"Config"},
    {"Monitor", L"Monitor"},
    {"Log", L"Log"},
};

INSTANTIATE_TEST_SUITE_P(Ui, SecondaryWindow, testing::ValuesIn(kSecondaries),
                         [](const auto& secondary) { return secondary.param.name; });

}  // namespace
}  // namespace quillgate::test
