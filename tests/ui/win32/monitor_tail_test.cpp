// What the monitor's edit control has in sight and gives away while it is too much to be laid out
// at once.
#include <gtest/gtest.h>

#include <chrono>
#include <string>

#include "tests/support/load.h"
#include "tests/support/wine.h"
#include "tests/ui/answer_times.h"
#include "tests/ui/monitor_test.h"
#include "tests/ui/win32/controls.h"
#include "tests/ui/win32/program.h"

namespace quillgate::test {
namespace {

// How narrow a window can be made, in pixels: under wine narrower than the system says.
int narrowest() { return runsUnderWine() ? 120 : GetSystemMetrics(SM_CXMINTRACK); }

class MonitorTailOnWindows : public MonitorTest {
 protected:
  [[nodiscard]] HWND edit() const { return handleOf(view); }
  // How many characters the control itself has, which gets those that it cannot display later.
  [[nodiscard]] std::size_t charactersHeld() const {
    const auto lastLine = static_cast<WPARAM>(send(edit(), EM_GETLINECOUNT) - 1);
    return static_cast<std::size_t>(send(edit(), EM_LINEINDEX, lastLine));
  }
  [[nodiscard]] bool viewHoldsAll() const { return charactersHeld() == textOf(edit()).size(); }
  // The first 20 characters that are in sight, once the control has all. Not by EM_GETLINE, whose
  // answer wine garbles on its way to another process.
  [[nodiscard]] std::wstring firstInSight() const {
    EXPECT_TRUE(eventually([&] { return viewHoldsAll(); }));
    const auto line = static_cast<WPARAM>(send(edit(), EM_GETFIRSTVISIBLELINE));
    return textOf(edit()).substr(static_cast<std::size_t>(send(edit(), EM_LINEINDEX, line)), 20);
  }
  // Whether the last line that the control has is in sight, and not at the top.
  [[nodiscard]] bool endIsInSight() const {
    const LRESULT position = send(edit(), EM_POSFROMCHAR, charactersHeld() - 1);
    const int y = static_cast<short>(HIWORD(position));
    const int height = clientSize(edit()).height;
    return position != -1 && y > height / 2 && y < height;
  }

  // As many long lines as the view can have.
  void fillWithLongLines() {
    showLongLines(load(100, 250));
    ASSERT_TRUE(eventually([&] { return viewHoldsAll(); }, std::chrono::minutes(2)));
  }
  // 150 datagrams, each with a line of its own and a header, all in the control.
  void showShortLines() {
    filterList.choose(1);
    for (int i = 1; i <= 150; ++i) sendThrough("datagram " + std::to_string(i));
    ASSERT_TRUE(
        eventually([&] { return viewText().ends_with(L"datagram 150\n") && viewHoldsAll(); }));
  }

  // Drags the right border until the window is as narrow as `narrow`, and back, by 10 pixels at a
  // time. Afterwards the control gets the rest of the text.
  void dragBorder(int wide, int narrow) {
    SetWindowPos(handleOf(window), nullptr, 0, 0, wide, window.screenPlace().height, SWP_NOZORDER);
    const auto width = [this] { return window.screenPlace().width; };
    const Box place = window.screenPlace();
    const POINT border{place.x + place.width - 2, place.y + place.height / 2};
    const std::wstring text = textOf(edit());
    AnswerTimes answers;
    {
      MouseDrag drag(border);
      // The first move may get lost, and is not measured.
      ASSERT_TRUE(drag.moveUntil({border.x - 1, border.y}, [&] { return width() == wide - 1; }));
      const int steps = (wide - narrow) / 10;
      for (int round = 0; round < load(1, 5); ++round) {
        for (int step = 1; step <= 2 * steps; ++step) {
          const int narrower = 10 * (step <= steps ? step : 2 * steps - step);
          SCOPED_TRACE(step);
          answers.measure([&] {
            drag.moveTo({border.x - narrower, border.y});
            return eventually([&] { return width() == wide - narrower; }) &&
                   send(handleOf(window), WM_NULL) == 0;
          });
          // On a busy machine, older lines may come between the two questions that this asks.
          EXPECT_TRUE(eventually([&] { return endIsInSight(); }, std::chrono::seconds(1)))
              << narrower;
        }
      }
      EXPECT_TRUE(textOf(edit()) == text);
    }
    EXPECT_LT(answers.report(), std::chrono::seconds(5));
    const std::size_t held = charactersHeld();
    EXPECT_TRUE(eventually([&] { return charactersHeld() > held || viewHoldsAll(); }));
  }

  // Looks at the clipboard only when there is something new: the program leaves it alone while
  // somebody else uses it.
  void rememberClipboard() { clipboard_ = GetClipboardSequenceNumber(); }
  [[nodiscard]] bool hasCopied() const { return GetClipboardSequenceNumber() != clipboard_; }
  [[nodiscard]] bool copies(const std::wstring& text) {
    return eventually([&] { return hasCopied(); }) &&
           eventually([&] { return clipboardText() == text; }, std::chrono::seconds(5));
  }

 private:
  DWORD clipboard_ = 0;
};

TEST_F(MonitorTailOnWindows, AnswersWhileTheBorderOfAFullWindowIsDragged) {
  const FullDragging fullDragging;
  fillWithLongLines();
  const int width = window.screenPlace().width;
  dragBorder(width, width - 300);
}

TEST_F(MonitorTailOnWindows, AnswersWhileTheBorderOfANarrowFullWindowIsDragged) {
  const FullDragging fullDragging;
  fillWithLongLines();
  dragBorder(300, narrowest());
}

TEST_F(MonitorTailOnWindows, AnswersWhenAFullWindowIsMinimizedMaximizedAndRestored) {
  fillWithLongLines();
  const Box place = view.place();
  AnswerTimes answers;
  for (const int show : {SW_MINIMIZE, SW_RESTORE, SW_MAXIMIZE, SW_RESTORE}) {
    answers.measure([&] {
      ShowWindow(handleOf(window), show);
      return eventually([&] {
               return (IsIconic(handleOf(window)) != 0) == (show == SW_MINIMIZE) &&
                      (IsZoomed(handleOf(window)) != 0) == (show == SW_MAXIMIZE);
             }) &&
             send(handleOf(window), WM_NULL) == 0;
    });
    if (show == SW_MINIMIZE) {
      EXPECT_TRUE(viewHoldsAll()) << "it is left alone";
    } else {
      EXPECT_TRUE(endIsInSight()) << show;
    }
  }
  EXPECT_LT(answers.report(), std::chrono::seconds(5));
  EXPECT_EQ(view.place(), place);
}

TEST_F(MonitorTailOnWindows, KeepsTheNewestLinesInSightInEverySize) {
  showShortLines();
  for (const int size : {300, 600, 200, 500}) {
    window.setClientSize(size + 200, size);
    EXPECT_TRUE(endIsInSight()) << size;
  }
  EXPECT_TRUE(eventually([&] { return viewHoldsAll(); }));
  EXPECT_TRUE(endIsInSight());
}

TEST_F(MonitorTailOnWindows, KeepsAReaderInPlaceInEverySize) {
  showShortLines();
  send(edit(), EM_LINESCROLL, 0, -200);
  const std::wstring first = firstInSight();
  for (const int size : {300, 600, 200, 500}) {
    window.setClientSize(size + 200, size);
    EXPECT_EQ(firstInSight(), first) << size;
  }
}

TEST_F(MonitorTailOnWindows, CompletesALineOfWhichANarrowWindowHadAPart) {
  showLongLines(3);
  const std::wstring text = textOf(edit());
  ASSERT_TRUE(eventually([&] {
    window.setClientSize(400, 300);
    window.setClientSize(150, 300);
    return charactersHeld() < 4096;
  }));
  EXPECT_TRUE(endIsInSight());
  EXPECT_TRUE(textOf(edit()) == text);
  EXPECT_TRUE(eventually([&] { return viewHoldsAll(); }));
  EXPECT_TRUE(endIsInSight());
  EXPECT_TRUE(textOf(edit()) == text);
}

TEST_F(MonitorTailOnWindows, KeepsAReaderInPlaceInTheMiddleOfALongLine) {
  showLongLines(3);
  const auto uppermost = [&] {
    EXPECT_TRUE(eventually([&] { return viewHoldsAll(); }));
    const auto line = static_cast<WPARAM>(send(edit(), EM_GETFIRSTVISIBLELINE));
    return static_cast<int>(send(edit(), EM_LINEINDEX, line));
  };
  window.setClientSize(300, 200);
  static_cast<void>(uppermost());
  send(edit(), EM_LINESCROLL, 0, -60);
  const int place = uppermost();
  ASSERT_NE(textOf(edit())[static_cast<std::size_t>(place) - 1], L'\n');
  for (const int width : {250, 150, 400}) {
    window.setClientSize(width, 200);
    EXPECT_NEAR(uppermost(), place, 100) << width;  // one line of the view
  }
}

TEST_F(MonitorTailOnWindows, KeepsTheSelectionInEverySize) {
  showShortLines();
  const std::wstring text = textOf(edit());
  const std::wstring selected = text.substr(1000, 5000);
  send(edit(), EM_SETSEL, 1000, 6000);
  for (const int size : {300, 600}) {
    window.setClientSize(size + 200, size);
    rememberClipboard();
    send(edit(), WM_COPY);
    EXPECT_TRUE(copies(selected)) << size;
  }
  EXPECT_TRUE(eventually([&] { return viewHoldsAll(); }));
  rememberClipboard();
  send(edit(), WM_COPY);
  EXPECT_TRUE(copies(selected));
}

TEST_F(MonitorTailOnWindows, CopiesNothingWithoutASelection) {
  showShortLines();
  rememberClipboard();
  send(edit(), WM_COPY);
  EXPECT_FALSE(hasCopied());
}

TEST_F(MonitorTailOnWindows, CopiesTheWholeTextWhileOlderLinesAreOnTheirWay) {
  showLongLines(60);
  const std::wstring text = textOf(edit());
  rememberClipboard();
  send(edit(), EM_SETSEL, 0, -1);
  send(edit(), WM_COPY);
  EXPECT_TRUE(copies(text));
}

TEST_F(MonitorTailOnWindows, SelectsAndCopiesTheWholeTextFromItsMenu) {
  if (PRIMARYLANGID(GetUserDefaultUILanguage()) != LANG_ENGLISH) {
    GTEST_SKIP()
        << "Windows draws this menu in its own language; the test knows the English letters";
  }
  showLongLines(60);
  const std::wstring text = textOf(edit());
  rememberClipboard();
  window.activate();
  const Box place = screenPlace(edit());
  for (const WORD key : {WORD{'A'}, WORD{'C'}}) {
    PostMessageW(edit(), WM_CONTEXTMENU, reinterpret_cast<WPARAM>(edit()),
                 MAKELPARAM(place.x + 100, place.y + 100));
    ASSERT_NE(waitForClass(*program, L"#32768"), nullptr);
    typeKeys(std::vector<WORD>{key});
    ASSERT_TRUE(eventually([&] { return windowOfClass(*program, L"#32768") == nullptr; }));
  }
  EXPECT_TRUE(copies(text));
}

TEST_F(MonitorTailOnWindows, HasTheNewestLinesInSightWhenItIsShownAgain) {
  const struct {
    HWND window;
    int hide;
    int show;
  } ways[] = {
      {handleOf(mainWindow), SW_MINIMIZE, SW_RESTORE},  // hides the monitor, but not under wine
      {handleOf(window), SW_MINIMIZE, SW_RESTORE},
      {handleOf(window), SW_HIDE, SW_SHOW}};
  filterList.choose(1);
  sendThrough("before");
  for (const auto& way : ways) {
    const auto isGone = [&] { return !IsWindowVisible(way.window) || IsIconic(way.window); };
    ShowWindow(way.window, way.hide);
    ASSERT_TRUE(eventually(isGone));
    for (int i = 1; i <= 150; ++i) sendThrough(std::to_string(i));
    ASSERT_TRUE(eventually([&] { return viewText().ends_with(L"\n150\n"); }));
    ShowWindow(way.window, way.show);
    ASSERT_TRUE(eventually([&] { return !isGone(); }));
    EXPECT_TRUE(eventually([&] { return endIsInSight(); }));
    window.control(L"Clear").press();
  }
}

}  // namespace
}  // namespace quillgate::test
