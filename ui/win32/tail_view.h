// A read-only edit control that shows the end of a long text at once and the rest a little later.
// UI thread only.
//
// Laying out wrapped lines is what such a control takes its time for: a line of 4,096 characters
// can take it 50 ms, and a text of 250 such lines many seconds in which the window would be frozen.
// A change of the control's width lays out all that it holds again. So after a new text or a new
// size it holds only the lines that it can display: the newest, or where the reader was. The others
// follow when nothing has changed for a moment. Whoever asks the control for its text or copies a
// selection gets the whole of it at any time.
#pragma once

#include <windows.h>

#include <cstddef>
#include <string>

#include "ui/win32/window.h"

namespace quillgate {

class TailView {
 public:
  // Makes `edit` the view: a child of a window that passes its WM_TIMER messages to onTimer(). It
  // must not outlive this object.
  void attach(HWND edit);

  // Makes `text` the text and shows its newest lines, with nothing selected.
  void show(std::wstring text);

  // Moves and sizes the view. A reader at the end goes on seeing the newest lines, another one the
  // line that was uppermost; what is selected stays selected.
  void place(const Rectangle& rectangle);

  // Adds lines until all are there. True when the timer was the view's.
  bool onTimer(UINT_PTR timer);

 private:
  // Characters of text_, or of what the control holds of it.
  struct Range {
    std::size_t begin;
    std::size_t end;

    bool operator==(const Range&) const = default;
  };

  static LRESULT CALLBACK editProcedure(HWND edit, UINT message, WPARAM wParam, LPARAM lParam,
                                        UINT_PTR id, DWORD_PTR self) noexcept;

  // Show as much of the end as the control can display, with the caret at the end, or of what comes
  // from the displayed line on that text_[place] is in.
  void showEnd();
  void showFrom(std::size_t place);
  void hold(Range range);
  [[nodiscard]] bool holdsAll() const { return held_ == Range{0, text_.size()}; }

  // Adds the next piece, below what the control holds or above it, without moving what is seen.
  void addPiece();
  // Whether the control holds enough to fill its height from one of its lines on.
  [[nodiscard]] bool isFullFrom(LRESULT line) const;
  [[nodiscard]] bool readerIsAtEnd() const;

  [[nodiscard]] Range selection() const;
  [[nodiscard]] Range inControl(const Range& range) const;
  void select(const Range& range);
  void copySelection() const;

  void runTimer(UINT milliseconds) const;

  HWND edit_ = nullptr;
  std::wstring text_;
  Range held_{};      // the part of text_ that the control holds
  Range selected_{};  // what select() has made the selection; held_ may be less
  // Whether the end was shown while the control could not be seen. Nobody promises that one scrolls
  // then, so it does so once more before it is painted.
  bool endIsUnseen_ = false;
};

}  // namespace quillgate
