// A read-only edit control that shows the end of a long text at once and the rest a little later.
// UI thread only.
//
// Laying out wrapped lines is what such a control takes its time for: a line of 4,096 characters
// can take it 50 ms, and a text of 250 such lines many seconds in which the window would be frozen.
// So only the lines that the control can display go into it with show(); older ones follow in front
// of them while no newer text comes. Whoever asks the control for its text gets the whole of it at
// any time.
#pragma once

#include <windows.h>

#include <cstddef>
#include <string>

namespace quillgate {

class TailView {
 public:
  // Makes `edit` the view: a child of a window that passes its WM_TIMER messages to onTimer(). It
  // must not outlive this object.
  void attach(HWND edit);

  // Makes `text` the text and shows its newest lines.
  void show(std::wstring text);

  // Adds older lines until all are there. True when the timer was the view's.
  bool onTimer(UINT_PTR timer);

 private:
  static LRESULT CALLBACK editProcedure(HWND edit, UINT message, WPARAM wParam, LPARAM lParam,
                                        UINT_PTR id, DWORD_PTR self) noexcept;

  // Puts the next piece of older lines in front, without moving what is seen.
  void addPiece();
  [[nodiscard]] bool fillsItsHeight() const;
  void runTimer(bool on) const;

  HWND edit_ = nullptr;
  std::wstring text_;
  std::size_t shownFrom_ = 0;  // what the control holds is text_ from here
};

}  // namespace quillgate
