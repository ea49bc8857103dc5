// A read-only edit control that shows the end of a long text at once and the rest a little later.
// UI thread only.
//
// Such a control takes long to lay out wrapped lines: 50 ms for a line of 4,096 characters, and
// many seconds, in which the window would be frozen, for a text of 250 such lines. A change of its
// width lays out everything in it again. So after a new text or a new size it holds only the lines
// that it can display: the newest, or those where the reader was, and of a line that is longer than
// the control can display only a part. The rest is added when nothing has changed for a moment. Its
// text, and what is copied from it, are always complete.
#pragma once

#include <windows.h>

#include <cstddef>
#include <string>

#include "ui/tail_pieces.h"
#include "ui/win32/window.h"

namespace quillgate {

class TailView {
 public:
  // Makes `edit` the view: a child of a window that passes its WM_TIMER messages to onTimer(). It
  // must not outlive this object.
  void attach(HWND edit);

  // Makes `text` the text and shows its newest lines, with nothing selected.
  void show(std::wstring text);

  // Moves and sizes the view. A view at its end keeps showing the newest lines, another one the
  // line that was at its top; what is selected stays selected.
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

  // Fill the control's height: with the end of the text and the caret there, or from the displayed
  // line on that contains text_[place].
  void showEnd();
  void showFrom(std::size_t place);
  void hold(Range range);
  [[nodiscard]] bool holdsAll() const { return held_ == Range{0, text_.size()}; }

  // Adds the next piece, below what the control holds or above it, without moving what is seen
  // except to complete a line; of a line that is longer than `longestLine`, only a part.
  void addPiece(std::size_t longestLine = kAnyLength);
  // How many characters fill the control, roughly.
  [[nodiscard]] std::size_t charactersToFill() const;
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
  // Whether the end was shown while the control was hidden. A hidden control may not scroll, so it
  // scrolls again before it is painted.
  bool endIsUnseen_ = false;
};

}  // namespace quillgate
