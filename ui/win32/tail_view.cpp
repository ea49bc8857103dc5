#include "ui/win32/tail_view.h"

// After windows.h.
#include <commctrl.h>

#include <algorithm>
#include <chrono>
#include <utility>

#include "ui/log_view.h"
#include "ui/win32/clipboard.h"

namespace quillgate {

namespace {

using Clock = std::chrono::steady_clock;

constexpr UINT_PTR kTimer = 1;
// How long nothing may change before more lines are added, and the pause between pieces.
constexpr UINT kRestMilliseconds = 300;
constexpr UINT kTimerMilliseconds = 50;
// How much goes into the control at once, and for how long.
constexpr std::size_t kPieceCharacters = 2048;
constexpr std::chrono::milliseconds kMaxTime{40};

LRESULT lineCount(HWND edit) { return SendMessageW(edit, EM_GETLINECOUNT, 0, 0); }
LRESULT firstVisibleLine(HWND edit) { return SendMessageW(edit, EM_GETFIRSTVISIBLELINE, 0, 0); }

void scrollTo(HWND edit, LRESULT line) {
  SendMessageW(edit, EM_LINESCROLL, 0, line - firstVisibleLine(edit));
}

TEXTMETRICW fontOf(HWND edit) {
  TEXTMETRICW font{};
  const HDC context = GetDC(edit);
  const HGDIOBJ former =
      SelectObject(context, reinterpret_cast<HFONT>(SendMessageW(edit, WM_GETFONT, 0, 0)));
  GetTextMetricsW(context, &font);
  SelectObject(context, former);
  ReleaseDC(edit, context);
  return font;
}

int lineHeight(HWND edit) { return static_cast<int>(fontOf(edit).tmHeight); }

}  // namespace

void TailView::attach(HWND edit) {
  edit_ = edit;
  SendMessageW(edit_, EM_SETLIMITTEXT, 0, 0);  // as much as it can hold
  SetWindowSubclass(edit_, editProcedure, 0, reinterpret_cast<DWORD_PTR>(this));
}

void TailView::show(std::wstring text) {
  if (!IsWindow(edit_)) return;
  text_ = std::move(text);
  showEnd();
  runTimer(kRestMilliseconds);
}

void TailView::place(const Rectangle& rectangle) {
  RECT former{};
  GetWindowRect(edit_, &former);
  const bool sameSize = former.right - former.left == std::max(rectangle.width, 0) &&
                        former.bottom - former.top == std::max(rectangle.height, 0);
  if (sameSize) {
    placeControl(edit_, rectangle);
    return;
  }

  const bool atEnd = readerIsAtEnd();
  const auto uppermost = static_cast<std::size_t>(
      SendMessageW(edit_, EM_LINEINDEX, static_cast<WPARAM>(firstVisibleLine(edit_)), 0));
  const std::size_t firstSeen = held_.begin + uppermost;
  const Range selected = selection();
  {
    const RedrawPause pause(edit_);
    hold({});  // or else it would lay out all its lines for the new width
  }
  placeControl(edit_, rectangle);
  if (atEnd) {
    showEnd();
  } else {
    showFrom(firstSeen);
  }
  const LRESULT first = firstVisibleLine(edit_);
  select(selected);
  scrollTo(edit_, first);  // wine scrolls to what is selected
  runTimer(kRestMilliseconds);
}

bool TailView::onTimer(UINT_PTR timer) {
  if (timer != kTimer) return false;
  const auto end = Clock::now() + kMaxTime;
  const RedrawPause pause(edit_);
  while (!holdsAll() && Clock::now() < end) addPiece();
  runTimer(kTimerMilliseconds);
  return true;
}

void TailView::showEnd() {
  const auto end = Clock::now() + kMaxTime;
  {
    const RedrawPause pause(edit_);
    const std::size_t enough = charactersToFill();
    hold({beginOfPieceBefore(text_, text_.size(), std::min(kPieceCharacters, enough), enough),
          text_.size()});
    while (!holdsAll() && !isFullFrom(0) && Clock::now() < end) addPiece(enough);
    select({text_.size(), text_.size()});
  }
  SendMessageW(edit_, EM_SCROLLCARET, 0, 0);
  endIsUnseen_ = IsWindowVisible(edit_) == 0;
}

void TailView::showFrom(std::size_t place) {
  const auto end = Clock::now() + kMaxTime;
  const RedrawPause pause(edit_);
  const std::size_t enough = charactersToFill();
  const std::size_t beginOfLine = beginOfLineAt(text_, place);
  const std::size_t begin = place - beginOfLine <= enough ? beginOfLine : place;
  hold({begin, endOfPieceAfter(text_, begin, std::min(kPieceCharacters, enough), enough)});
  const LRESULT line = SendMessageW(edit_, EM_LINEFROMCHAR, place - begin, 0);
  while (held_.end < text_.size() && !isFullFrom(line) && Clock::now() < end) addPiece(enough);
  scrollTo(edit_, line);
}

void TailView::hold(Range range) {
  held_ = range;
  SetWindowTextW(edit_, text_.substr(range.begin, range.end - range.begin).c_str());
}

void TailView::addPiece(std::size_t longestLine) {
  const bool below = held_.end < text_.size();
  const std::size_t size = std::min(kPieceCharacters, longestLine);
  const Range piece =
      below ? Range{held_.end, endOfPieceAfter(text_, held_.end, size, longestLine)}
            : Range{beginOfPieceBefore(text_, held_.begin, size, longestLine), held_.begin};
  const Range selected = selection();
  const LRESULT linesBefore = lineCount(edit_);
  const LRESULT firstBefore = firstVisibleLine(edit_);
  const std::size_t at = below ? held_.end - held_.begin : 0;
  SendMessageW(edit_, EM_SETSEL, at, static_cast<LPARAM>(at));
  SendMessageW(
      edit_, EM_REPLACESEL, FALSE,
      reinterpret_cast<LPARAM>(text_.substr(piece.begin, piece.end - piece.begin).c_str()));
  held_ = {std::min(held_.begin, piece.begin), std::max(held_.end, piece.end)};
  select(selected);
  scrollTo(edit_, firstBefore + (below ? 0 : lineCount(edit_) - linesBefore));
}

std::size_t TailView::charactersToFill() const {
  const TEXTMETRICW font = fontOf(edit_);
  const Size size = clientSize(edit_);
  const auto columns = static_cast<std::size_t>(size.width / font.tmAveCharWidth) + 1;
  const auto rows = static_cast<std::size_t>(size.height / font.tmHeight) + 1;
  return rows * columns * 3 / 2;  // some characters are narrower
}

bool TailView::isFullFrom(LRESULT line) const {
  return (lineCount(edit_) - line) * lineHeight(edit_) > clientSize(edit_).height;
}

bool TailView::readerIsAtEnd() const {
  if (endIsUnseen_) return true;
  return held_.end == text_.size() &&
         followsEnd({static_cast<int>(lineCount(edit_)), static_cast<int>(firstVisibleLine(edit_)),
                     clientSize(edit_).height, lineHeight(edit_)});
}

TailView::Range TailView::selection() const {
  DWORD begin = 0;
  DWORD end = 0;
  SendMessageW(edit_, EM_GETSEL, reinterpret_cast<WPARAM>(&begin), reinterpret_cast<LPARAM>(&end));
  if (inControl(selected_) == Range{begin, end}) return selected_;

  // The user has selected something else. A selection that reaches the first or the last line that
  // the control holds reaches that of the text: so "Select All" selects all of it.
  Range range{held_.begin + begin, held_.begin + end};
  if (begin == end) return range;
  if (range.begin == held_.begin) range.begin = 0;
  if (range.end == held_.end) range.end = text_.size();
  return range;
}

TailView::Range TailView::inControl(const Range& range) const {
  return {std::clamp(range.begin, held_.begin, held_.end) - held_.begin,
          std::clamp(range.end, held_.begin, held_.end) - held_.begin};
}

void TailView::select(const Range& range) {
  selected_ = range;
  const Range shown = inControl(range);
  SendMessageW(edit_, EM_SETSEL, shown.begin, static_cast<LPARAM>(shown.end));
}

void TailView::copySelection() const {
  const Range range = selection();
  if (range.begin == range.end) return;
  copyToClipboard(edit_, text_.substr(range.begin, range.end - range.begin));
}

void TailView::runTimer(UINT milliseconds) const {
  if (holdsAll()) {
    KillTimer(GetParent(edit_), kTimer);
  } else {
    SetTimer(GetParent(edit_), kTimer, milliseconds, nullptr);
  }
}

LRESULT CALLBACK TailView::editProcedure(HWND edit, UINT message, WPARAM wParam, LPARAM lParam,
                                         UINT_PTR, DWORD_PTR self) noexcept {
  auto& view = *reinterpret_cast<TailView*>(self);
  switch (message) {
    case WM_PAINT:
      if (std::exchange(view.endIsUnseen_, false)) SendMessageW(edit, EM_SCROLLCARET, 0, 0);
      break;
    case WM_GETTEXTLENGTH:
      return static_cast<LRESULT>(view.text_.size());
    case WM_GETTEXT: {
      if (wParam == 0) return 0;
      auto* const buffer = reinterpret_cast<wchar_t*>(lParam);
      const std::size_t copied = view.text_.copy(buffer, wParam - 1);
      buffer[copied] = L'\0';
      return static_cast<LRESULT>(copied);
    }
    case WM_COPY:
      view.copySelection();
      return 0;
    case WM_KEYDOWN:
      // Wine's control copies for these keys without sending itself the message.
      if (wParam != VK_INSERT || GetKeyState(VK_CONTROL) >= 0) break;
      view.copySelection();
      return 0;
    default:
      break;
  }
  return DefSubclassProc(edit, message, wParam, lParam);
}

}  // namespace quillgate
