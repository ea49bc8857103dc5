#include "ui/win32/tail_view.h"

// After windows.h.
#include <commctrl.h>

#include <chrono>
#include <utility>

#include "ui/tail_pieces.h"
#include "ui/win32/window.h"

namespace quillgate {

namespace {

using Clock = std::chrono::steady_clock;

constexpr UINT_PTR kTimer = 1;
constexpr UINT kTimerMilliseconds = 50;
// How much goes into the control at once, and for how long.
constexpr std::size_t kPieceCharacters = 2048;
constexpr std::chrono::milliseconds kMaxTime{40};

LRESULT lineCount(HWND edit) { return SendMessageW(edit, EM_GETLINECOUNT, 0, 0); }
LRESULT firstVisibleLine(HWND edit) { return SendMessageW(edit, EM_GETFIRSTVISIBLELINE, 0, 0); }

}  // namespace

void TailView::attach(HWND edit) {
  edit_ = edit;
  SendMessageW(edit_, EM_SETLIMITTEXT, 0, 0);  // as much as it can hold
  SetWindowSubclass(edit_, editProcedure, 0, reinterpret_cast<DWORD_PTR>(this));
}

void TailView::show(std::wstring text) {
  if (!IsWindow(edit_)) return;
  text_ = std::move(text);
  shownFrom_ = beginOfPieceBefore(text_, text_.size(), kPieceCharacters);
  const auto end = Clock::now() + kMaxTime;
  {
    const RedrawPause pause(edit_);
    SetWindowTextW(edit_, text_.c_str() + shownFrom_);
    while (shownFrom_ > 0 && !fillsItsHeight() && Clock::now() < end) addPiece();
    // Replacing the text has put the caret at its start.
    const std::size_t size = text_.size() - shownFrom_;
    SendMessageW(edit_, EM_SETSEL, size, static_cast<LPARAM>(size));
  }
  SendMessageW(edit_, EM_SCROLLCARET, 0, 0);
  runTimer(shownFrom_ > 0);
}

bool TailView::onTimer(UINT_PTR timer) {
  if (timer != kTimer) return false;
  const auto end = Clock::now() + kMaxTime;
  const RedrawPause pause(edit_);
  while (shownFrom_ > 0 && Clock::now() < end) addPiece();
  runTimer(shownFrom_ > 0);
  return true;
}

void TailView::addPiece() {
  const std::size_t begin = beginOfPieceBefore(text_, shownFrom_, kPieceCharacters);
  const std::wstring piece = text_.substr(begin, shownFrom_ - begin);
  shownFrom_ = begin;

  DWORD selectionStart = 0;
  DWORD selectionEnd = 0;
  SendMessageW(edit_, EM_GETSEL, reinterpret_cast<WPARAM>(&selectionStart),
               reinterpret_cast<LPARAM>(&selectionEnd));
  const LRESULT linesBefore = lineCount(edit_);
  const LRESULT firstBefore = firstVisibleLine(edit_);
  SendMessageW(edit_, EM_SETSEL, 0, 0);
  SendMessageW(edit_, EM_REPLACESEL, FALSE, reinterpret_cast<LPARAM>(piece.c_str()));
  SendMessageW(edit_, EM_SETSEL, selectionStart + piece.size(),
               static_cast<LPARAM>(selectionEnd + piece.size()));
  const LRESULT first = firstBefore + lineCount(edit_) - linesBefore;
  SendMessageW(edit_, EM_LINESCROLL, 0, first - firstVisibleLine(edit_));
}

bool TailView::fillsItsHeight() const {
  RECT client{};
  GetClientRect(edit_, &client);
  TEXTMETRICW font{};
  const HDC context = GetDC(edit_);
  const HGDIOBJ former =
      SelectObject(context, reinterpret_cast<HFONT>(SendMessageW(edit_, WM_GETFONT, 0, 0)));
  GetTextMetricsW(context, &font);
  SelectObject(context, former);
  ReleaseDC(edit_, context);
  return lineCount(edit_) * font.tmHeight > client.bottom;
}

void TailView::runTimer(bool on) const {
  if (on) {
    SetTimer(GetParent(edit_), kTimer, kTimerMilliseconds, nullptr);
  } else {
    KillTimer(GetParent(edit_), kTimer);
  }
}

LRESULT CALLBACK TailView::editProcedure(HWND edit, UINT message, WPARAM wParam, LPARAM lParam,
                                         UINT_PTR, DWORD_PTR self) noexcept {
  const std::wstring& text = reinterpret_cast<const TailView*>(self)->text_;
  switch (message) {
    case WM_GETTEXTLENGTH:
      return static_cast<LRESULT>(text.size());
    case WM_GETTEXT: {
      if (wParam == 0) return 0;
      auto* const buffer = reinterpret_cast<wchar_t*>(lParam);
      const std::size_t copied = text.copy(buffer, wParam - 1);
      buffer[copied] = L'\0';
      return static_cast<LRESULT>(copied);
    }
    default:
      return DefSubclassProc(edit, message, wParam, lParam);
  }
}

}  // namespace quillgate
