// Looking at the windows of another process and using them.
#pragma once

#include <windows.h>

#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "tests/ui/driver.h"

namespace quillgate::test {

// Sends a message and waits for its result; fails the test when the window is there and does not
// answer before the deadline.
LRESULT send(HWND window, UINT message, WPARAM wParam = 0, LPARAM lParam = 0);

// Sends a command as a control with this id would; `code` is the notification.
LRESULT sendCommand(HWND window, int id, int code = 0);

// Presses a button and releases it.
void click(HWND button);
// The same with the mouse, for any control that nothing covers.
void clickWithMouse(HWND control);
// Types keys with the keyboard, all at once: codes of virtual keys.
void typeKeys(const std::vector<WORD>& keys);
// Presses these keys one after the other and releases them in the opposite order.
void typeChord(const std::vector<WORD>& keys);

// Makes this the window that has the keyboard.
void bringToFront(HWND window);

// A mouse button that is held down from a point of the screen on, until the object goes.
class MouseDrag {
 public:
  explicit MouseDrag(POINT from);
  ~MouseDrag();
  MouseDrag(const MouseDrag&) = delete;
  MouseDrag& operator=(const MouseDrag&) = delete;

  void moveTo(POINT to);
  // Moves there until `isThere`; false when the deadline has passed. A move may get lost while the
  // system begins to follow the mouse.
  [[nodiscard]] bool moveUntil(POINT to, const std::function<bool()>& isThere);
};

// Windows are shown in their new place and size while the mouse drags them, as long as this lives.
class FullDragging {
 public:
  FullDragging();
  ~FullDragging();
  FullDragging(const FullDragging&) = delete;
  FullDragging& operator=(const FullDragging&) = delete;

 private:
  BOOL former_ = FALSE;
};

// Whether what is typed goes to this window.
[[nodiscard]] bool hasFocus(HWND window);

[[nodiscard]] std::wstring textOf(HWND window);
[[nodiscard]] std::wstring classOf(HWND window);
[[nodiscard]] DWORD styleOf(HWND window);
[[nodiscard]] DWORD exStyleOf(HWND window);
// The style of a control as the program gave it: without what systems add by themselves.
[[nodiscard]] DWORD givenStyleOf(HWND control);

// Where a window stands on the screen.
[[nodiscard]] Box screenPlace(HWND window);
// The outer size, at (0, 0).
[[nodiscard]] Box outerSize(HWND window);
// The size of the client area, at (0, 0).
[[nodiscard]] Box clientSize(HWND window);
// Where a child stands in its parent's client area.
[[nodiscard]] Box placeOf(HWND child);
// Makes the window's client area this wide and high.
void setClientSize(HWND window, int width, int height);

// The children in front-to-back order, which is the order in which they were created.
[[nodiscard]] std::vector<HWND> childrenOf(HWND window);

// Whether the screen shows a window larger than it is in its own pixels, and what a test says that
// is skipped for this.
[[nodiscard]] bool isShownScaled(HWND window);
inline constexpr const char* kScaled = "the screen is scaled: it shows no exact edges";

// The colour the screen shows at a point of the window's client area.
[[nodiscard]] COLORREF screenPixel(HWND window, int x, int y);

// Waits until the screen shows the text of a control with an even background as wide and as high as
// it is in the program's font.
[[nodiscard]] bool showsItsTextInTheProgramsFont(HWND control);

// The lines of a list box, the items of a combo box.
[[nodiscard]] std::vector<std::wstring> linesOf(HWND listBox);
[[nodiscard]] std::vector<std::wstring> itemsOf(HWND comboBox);

// The text on the clipboard as it is; nothing while another program uses it.
[[nodiscard]] std::optional<std::wstring> clipboardText();

}  // namespace quillgate::test
