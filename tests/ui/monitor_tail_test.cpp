// What the monitor's view has in sight and gives away while it has as much as it can have.
#include <gtest/gtest.h>

#include <chrono>
#include <string>
#include <utility>

#include "tests/support/load.h"
#include "tests/ui/answer_times.h"
#include "tests/ui/monitor_test.h"

namespace quillgate::test {
namespace {

class MonitorTail : public MonitorTest {
 protected:
  // As many long lines as the view can have.
  void fillWithLongLines() { showLongLines(load(100, 250)); }
  // 150 datagrams, each with a line of its own and a header.
  void showShortLines() {
    filterList.choose(1);
    for (int i = 1; i <= 150; ++i) sendThrough("datagram " + std::to_string(i));
    ASSERT_TRUE(eventually([&] { return viewText().ends_with(L"datagram 150\n"); }));
  }
  [[nodiscard]] bool endIsInSight() const {
    return eventually([&] { return view.showsItsEnd(); });
  }

  void focusView() const {
    window.activate();
    // A click may get lost while the window becomes the active one.
    ASSERT_TRUE(eventually([&] {
      clickWithMouse(view);
      return eventually([&] { return view.hasFocus(); }, std::chrono::seconds(1));
    }));
  }
  [[nodiscard]] static bool gets(const Clipboard& clipboard, const std::wstring& text) {
    return eventually([&] { return clipboard.hasNews(); }) &&
           eventually([&] { return clipboard.text() == text; }, std::chrono::seconds(5));
  }
};

TEST_F(MonitorTail, AnswersWhileAFullWindowBecomesNarrowerAndWider) {
  fillWithLongLines();
  const Box size = window.clientSize();
  AnswerTimes answers;
  for (int round = 0; round < load(1, 5); ++round) {
    // Narrower by 300 pixels and back.
    for (int step = 1; step <= 60; ++step) {
      const int narrower = 10 * (step <= 30 ? step : 60 - step);
      SCOPED_TRACE(step);
      answers.measure([&] {
        window.setClientSize(size.width - narrower, size.height);
        return view.place().width == size.width - narrower - 20;
      });
      ASSERT_TRUE(view.showsItsEnd()) << narrower;
    }
  }
  EXPECT_LT(answers.report(), std::chrono::seconds(5));
}

TEST_F(MonitorTail, AnswersWhenAFullWindowIsMinimizedMaximizedAndRestored) {
  using enum Window::State;
  fillWithLongLines();
  const Box place = view.place();
  const struct {
    void (Window::*change)() const;
    Window::State state;
  } steps[] = {{&Window::minimize, minimized},
               {&Window::restore, normal},
               {&Window::maximize, maximized},
               {&Window::restore, normal}};
  AnswerTimes answers;
  for (const auto& step : steps) {
    answers.measure([&] {
      (window.*step.change)();
      return eventually([&] { return window.state() == step.state; }) && view.isThere();
    });
    if (step.state != minimized) {
      EXPECT_TRUE(endIsInSight()) << static_cast<int>(step.state);
    }
  }
  EXPECT_LT(answers.report(), std::chrono::seconds(5));
  EXPECT_TRUE(eventually([&] { return view.place() == place; }));
}

TEST_F(MonitorTail, KeepsTheNewestLinesInSightInEverySize) {
  showShortLines();
  for (const int size : {300, 600, 200, 500}) {
    window.setClientSize(size + 200, size);
    EXPECT_TRUE(view.showsItsEnd()) << size;
  }
}

TEST_F(MonitorTail, SelectsAndCopiesTheWholeTextWithTheKeyboard) {
  showLongLines(60);
  const std::wstring text = view.text();
  for (const Key copyKey : {key('c'), Key::insert}) {
    const Clipboard clipboard;
    focusView();
    typeChord({Key::control, key('a')});
    typeChord({Key::control, copyKey});
    EXPECT_TRUE(gets(clipboard, text)) << static_cast<int>(copyKey);
  }
}

TEST_F(MonitorTail, SelectsToTheTopOfTheWholeTextWithTheKeyboard) {
  showLongLines(60);
  const std::wstring text = view.text();
  const Clipboard clipboard;
  focusView();
  typeChord({Key::control, Key::end});
  typeChord({Key::control, Key::shift, Key::home});
  typeChord({Key::control, key('c')});
  EXPECT_TRUE(gets(clipboard, text));
}

TEST_F(MonitorTail, HasTheNewestLinesInSightWhenItIsShownAgain) {
  filterList.choose(1);
  sendThrough("before");
  // The main window takes the monitor along, but not under wine.
  for (const Window& minimized : {mainWindow, window}) {
    minimized.minimize();
    ASSERT_TRUE(eventually([&] { return minimized.state() == Window::State::minimized; }));
    for (int i = 1; i <= 150; ++i) sendThrough(std::to_string(i));
    ASSERT_TRUE(eventually([&] { return viewText().ends_with(L"\n150\n"); }));
    minimized.restore();
    ASSERT_TRUE(eventually([&] { return minimized.state() == Window::State::normal; }));
    EXPECT_TRUE(endIsInSight());
    window.control(L"Clear").press();
  }
}

}  // namespace
}  // namespace quillgate::test
