// What the monitor's view has in sight and gives away while it is too much to be laid out at once.
#include <gtest/gtest.h>

#include <chrono>
#include <optional>
#include <string>

#include "tests/support/load.h"
#include "tests/ui/answer_times.h"
#include "tests/ui/monitor_test.h"

namespace quillgate::test {
namespace {

// The text on the clipboard; nothing while another program uses it.
std::optional<std::wstring> clipboardText() {
  if (!OpenClipboard(nullptr)) return std::nullopt;
  std::optional<std::wstring> text;
  if (const HANDLE data = GetClipboardData(CF_UNICODETEXT)) {
    text = static_cast<const wchar_t*>(GlobalLock(data));
    GlobalUnlock(data);
  }
  CloseClipboard();
  return text;
}

class MonitorTail : public MonitorTest {
 protected:
  // As many long lines as the view can have.
  void fillWithLongLines() {
    showLongLines(load(100, 250));
    ASSERT_TRUE(eventually([&] { return viewHoldsAll(); }, std::chrono::minutes(2)));
  }
  // 150 datagrams, each with a line of its own and a header, all in the control.
  void showShortLines() {
    choose(filterList, 1);
    for (int i = 1; i <= 150; ++i) sendThrough("datagram " + std::to_string(i));
    ASSERT_TRUE(
        eventually([&] { return viewText().ends_with(L"datagram 150\r\n") && viewHoldsAll(); }));
  }

  void focusView() {
    SetForegroundWindow(window);
    // A click may get lost while the window becomes the active one.
    ASSERT_TRUE(eventually([&] {
      clickWithMouse(view);
      return eventually([&] { return hasFocus(view); }, std::chrono::seconds(1));
    }));
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

TEST_F(MonitorTail, AnswersWhileTheBorderOfAFullWindowIsDragged) {
  const FullDragging fullDragging;
  fillWithLongLines();
  SetWindowPos(window, nullptr, 0, 0, 0, 0, SWP_NOSIZE | SWP_NOZORDER);
  const Box place = screenPlace(window);
  const POINT border{place.x + place.width - 2, place.y + place.height / 2};

  AnswerTimes answers;
  {
    MouseDrag drag(border);
    // The first move may get lost, and is not measured.
    ASSERT_TRUE(drag.moveUntil({border.x - 1, border.y},
                               [&] { return outerSize(window).width == place.width - 1; }));
    for (int round = 0; round < load(1, 5); ++round) {
      // Narrower by 300 pixels and back.
      for (int step = 1; step <= 60; ++step) {
        const int narrower = 10 * (step <= 30 ? step : 60 - step);
        SCOPED_TRACE(step);
        answers.measure([&] {
          drag.moveTo({border.x - narrower, border.y});
          return eventually([&] { return outerSize(window).width == place.width - narrower; }) &&
                 send(window, WM_NULL) == 0;
        });
        EXPECT_TRUE(endIsInSight()) << narrower;
      }
    }
  }
  EXPECT_LT(answers.report(), std::chrono::seconds(5));
  const std::size_t held = charactersHeld();
  EXPECT_TRUE(eventually([&] { return charactersHeld() > held || viewHoldsAll(); }));
}

TEST_F(MonitorTail, AnswersWhenAFullWindowIsMinimizedMaximizedAndRestored) {
  fillWithLongLines();
  const Box place = placeOf(view);
  AnswerTimes answers;
  for (const int show : {SW_MINIMIZE, SW_RESTORE, SW_MAXIMIZE, SW_RESTORE}) {
    answers.measure([&] {
      ShowWindow(window, show);
      return eventually([&] {
               return (IsIconic(window) != 0) == (show == SW_MINIMIZE) &&
                      (IsZoomed(window) != 0) == (show == SW_MAXIMIZE);
             }) &&
             send(window, WM_NULL) == 0;
    });
    if (show == SW_MINIMIZE) {
      EXPECT_TRUE(viewHoldsAll()) << "it is left alone";
    } else {
      EXPECT_TRUE(endIsInSight()) << show;
    }
  }
  EXPECT_LT(answers.report(), std::chrono::seconds(5));
  EXPECT_EQ(placeOf(view), place);
}

TEST_F(MonitorTail, KeepsTheNewestLinesInSightInEverySize) {
  showShortLines();
  for (const int size : {300, 600, 200, 500}) {
    setClientSize(window, size + 200, size);
    EXPECT_TRUE(endIsInSight()) << size;
  }
  EXPECT_TRUE(eventually([&] { return viewHoldsAll(); }));
  EXPECT_TRUE(endIsInSight());
}

TEST_F(MonitorTail, KeepsAReaderInPlaceInEverySize) {
  showShortLines();
  send(view, EM_LINESCROLL, 0, -200);
  const std::wstring first = firstInSight();
  for (const int size : {300, 600, 200, 500}) {
    setClientSize(window, size + 200, size);
    EXPECT_EQ(firstInSight(), first) << size;
  }
}

TEST_F(MonitorTail, KeepsTheSelectionInEverySize) {
  showShortLines();
  const std::wstring text = textOf(view);
  const std::wstring selected = text.substr(1000, 5000);
  send(view, EM_SETSEL, 1000, 6000);
  for (const int size : {300, 600}) {
    setClientSize(window, size + 200, size);
    rememberClipboard();
    send(view, WM_COPY);
    EXPECT_TRUE(copies(selected)) << size;
  }
  EXPECT_TRUE(eventually([&] { return viewHoldsAll(); }));
  rememberClipboard();
  send(view, WM_COPY);
  EXPECT_TRUE(copies(selected));
}

TEST_F(MonitorTail, CopiesNothingWithoutASelection) {
  showShortLines();
  rememberClipboard();
  send(view, WM_COPY);
  EXPECT_FALSE(hasCopied());
}

TEST_F(MonitorTail, CopiesTheWholeTextWhileOlderLinesAreOnTheirWay) {
  showLongLines(60);
  const std::wstring text = textOf(view);
  rememberClipboard();
  send(view, EM_SETSEL, 0, -1);
  send(view, WM_COPY);
  EXPECT_TRUE(copies(text));
}

TEST_F(MonitorTail, SelectsAndCopiesTheWholeTextWithTheKeyboard) {
  showLongLines(60);
  const std::wstring text = textOf(view);
  for (const WORD copyKey : {WORD{'C'}, WORD{VK_INSERT}}) {
    rememberClipboard();
    focusView();
    typeChord({VK_CONTROL, 'A'});
    typeChord({VK_CONTROL, copyKey});
    EXPECT_TRUE(copies(text)) << copyKey;
  }
}

TEST_F(MonitorTail, SelectsToTheTopOfTheWholeTextWithTheKeyboard) {
  showLongLines(60);
  const std::wstring text = textOf(view);
  rememberClipboard();
  focusView();
  typeChord({VK_CONTROL, VK_END});
  typeChord({VK_CONTROL, VK_SHIFT, VK_HOME});
  typeChord({VK_CONTROL, 'C'});
  EXPECT_TRUE(copies(text));
}

TEST_F(MonitorTail, SelectsAndCopiesTheWholeTextFromItsMenu) {
  showLongLines(60);
  const std::wstring text = textOf(view);
  rememberClipboard();
  SetForegroundWindow(window);
  const Box place = screenPlace(view);
  for (const WORD key : {WORD{'A'}, WORD{'C'}}) {
    PostMessageW(view, WM_CONTEXTMENU, reinterpret_cast<WPARAM>(view),
                 MAKELPARAM(place.x + 100, place.y + 100));
    ASSERT_NE(program->waitForWindow(L"#32768"), nullptr);
    typeKeys({key});
    ASSERT_TRUE(eventually([&] { return program->window(L"#32768") == nullptr; }));
  }
  EXPECT_TRUE(copies(text));
}

TEST_F(MonitorTail, HasTheNewestLinesInSightWhenItIsShownAgain) {
  const struct {
    HWND window;
    int hide;
    int show;
  } ways[] = {{mainWindow, SW_MINIMIZE, SW_RESTORE},  // hides the monitor, but not under wine
              {window, SW_MINIMIZE, SW_RESTORE},
              {window, SW_HIDE, SW_SHOW}};
  choose(filterList, 1);
  sendThrough("before");
  for (const auto& way : ways) {
    const auto isGone = [&] { return !IsWindowVisible(way.window) || IsIconic(way.window); };
    ShowWindow(way.window, way.hide);
    ASSERT_TRUE(eventually(isGone));
    for (int i = 1; i <= 150; ++i) sendThrough(std::to_string(i));
    ASSERT_TRUE(eventually([&] { return viewText().ends_with(L"\r\n150\r\n"); }));
    ShowWindow(way.window, way.show);
    ASSERT_TRUE(eventually([&] { return !isGone(); }));
    EXPECT_TRUE(eventually([&] { return endIsInSight(); }));
    sendCommand(window, IDC_MON_CLEAR);
  }
}

}  // namespace
}  // namespace quillgate::test
