// The common ground of the program's windows: one class per window, one window procedure that finds
// the object and hands it the message, and controls that are created and placed from tables.
//
// UI thread only.
#pragma once

#include <windows.h>

#include <memory>
#include <span>

#include "ui/layout.h"

namespace quillgate {

// Paints the system's window colour, as a class's background and for FillRect.
inline const HBRUSH kWindowColorBrush = reinterpret_cast<HBRUSH>(INT_PTR{COLOR_WINDOW + 1});

// A child control. Every control is a visible child besides what `style` says.
struct ControlRow {
  int id;
  const wchar_t* windowClass;
  const wchar_t* text;
  DWORD style;
  DWORD exStyle;
  Rectangle rectangle;
};

// Where the control with this id goes.
struct Placement {
  int id;
  Rectangle rectangle;
};

class Window {
 public:
  virtual ~Window() = default;
  Window(const Window&) = delete;
  Window& operator=(const Window&) = delete;

  // Registers a window class with the attributes that all classes of the program share. Registering
  // a class a second time changes nothing.
  static void registerClass(const wchar_t* className);

  // Creates the window of a registered class that `object` handles; `parent` is its owner when
  // `style` is not a child's. The window keeps the object until it is destroyed. Null when the
  // system refuses.
  static HWND create(std::shared_ptr<Window> object, const wchar_t* className, const wchar_t* title,
                     DWORD style, const Rectangle& rectangle, HWND parent);

 protected:
  Window() = default;

  // Null once the window is destroyed.
  [[nodiscard]] HWND handle() const { return handle_; }

  // Handles one message; whatever the window does not handle goes to defaultResult().
  virtual LRESULT onMessage(UINT message, WPARAM wParam, LPARAM lParam) = 0;

  LRESULT defaultResult(UINT message, WPARAM wParam, LPARAM lParam) const {
    return DefWindowProcW(handle_, message, wParam, lParam);
  }

 private:
  // An exception that reaches the window procedure is a programming error and ends the process.
  static LRESULT CALLBACK procedure(HWND handle, UINT message, WPARAM wParam,
                                    LPARAM lParam) noexcept;

  HWND handle_ = nullptr;
  // A handler may be on the stack while its window is destroyed, below a modal dialog for example:
  // the object goes only when the last handler has returned.
  std::shared_ptr<Window> self_;
};

// Creates one control in the program's font; null when the system refuses.
HWND createControl(HWND parent, const ControlRow& row);

// Creates the controls in the order of the table.
void createControls(HWND parent, std::span<const ControlRow> rows);

// Moves and sizes a control without changing what is in front of what; a null handle is skipped.
void placeControl(HWND control, const Rectangle& rectangle);

// Places the children of `parent`; ids that it does not have are skipped.
void placeControls(HWND parent, std::span<const Placement> placements);

// Keeps a window from drawing itself while it changes.
class RedrawPause {
 public:
  explicit RedrawPause(HWND window) : window_(window) { setRedraw(FALSE); }
  ~RedrawPause() {
    setRedraw(TRUE);
    RedrawWindow(window_, nullptr, nullptr, RDW_INVALIDATE | RDW_ERASE | RDW_FRAME);
  }
  RedrawPause(const RedrawPause&) = delete;
  RedrawPause& operator=(const RedrawPause&) = delete;

 private:
  void setRedraw(BOOL on) const {
    SendMessageW(window_, WM_SETREDRAW, static_cast<WPARAM>(on), 0);
    // Wine's edit control ignores the message: each change would draw its scroll bar.
    DefWindowProcW(window_, WM_SETREDRAW, static_cast<WPARAM>(on), 0);
  }

  HWND window_;
};

// The size of the client area.
[[nodiscard]] Size clientSize(HWND window);

}  // namespace quillgate
