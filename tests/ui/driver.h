// The windows and controls of the program under test, as people and screen readers use them. The
// same on every system; tests/ui/win32 does it with messages, tests/ui/atspi with the accessibility
// bus and the X server.
//
// Controls are found by the names that screen readers know: a button by its caption, a field by its
// label or by the name it has for them. A window is found by its title.
#pragma once

#include <cstddef>
#include <functional>
#include <memory>
#include <optional>
#include <ostream>
#include <string>
#include <vector>

namespace quillgate::test {

// Pixels: left edge, top edge, width, height.
struct Box {
  int x;
  int y;
  int width;
  int height;

  bool operator==(const Box&) const = default;
  friend std::ostream& operator<<(std::ostream& out, const Box& box) {
    return out << box.x << "," << box.y << " " << box.width << "x" << box.height;
  }
};

struct Point {
  int x;
  int y;
};

struct Color {
  int red;
  int green;
  int blue;

  bool operator==(const Color&) const = default;
  friend std::ostream& operator<<(std::ostream& out, const Color& color) {
    return out << "(" << color.red << ", " << color.green << ", " << color.blue << ")";
  }
};

// What a system knows a control or a window by.
struct NativeControl;

// A control, or none. Cheap to copy. It may vanish at any moment: then it is neither there nor
// shown, and has no text.
class Control {
 public:
  Control() = default;
  explicit Control(std::shared_ptr<const NativeControl> native) : native_(std::move(native)) {}
  [[nodiscard]] const NativeControl* native() const { return native_.get(); }

  // Whether both are the same control of the program.
  bool operator==(const Control& other) const;

  [[nodiscard]] bool isThere() const;
  [[nodiscard]] bool isShown() const;
  [[nodiscard]] bool isEnabled() const;
  [[nodiscard]] bool isChecked() const;
  // Whether what is typed goes to it.
  [[nodiscard]] bool hasFocus() const;

  // The caption of a button, the content of a field or a view, the chosen entry of a list to choose
  // from, the title of a window. Lines end with "\n", whatever the system makes of it.
  [[nodiscard]] std::wstring text() const;
  // What a list to choose from offers, or the lines of a list.
  [[nodiscard]] std::vector<std::wstring> entries() const;
  // How many lines a list has, and the last of them; empty while the list changes.
  [[nodiscard]] std::size_t lineCount() const;
  [[nodiscard]] std::wstring lastLine() const;

  // Where it stands in the client area of its window, and on the screen.
  [[nodiscard]] Box place() const;
  [[nodiscard]] Box screenPlace() const;

  // Presses a button or a check box; returns when what it does is done. Not for buttons that open a
  // dialog.
  void press() const;
  // Makes this the content of a field.
  void setText(const std::wstring& text) const;
  // Chooses another entry, as a user does who picks it.
  void choose(int entry) const;

  // The first line of a list that is in sight, counted from 0, and how many whole lines are.
  [[nodiscard]] int firstLineInSight() const;
  [[nodiscard]] int linesInSight() const;
  // Scrolls a list to its first line, and so that its last line is in sight.
  void scrollToTop() const;
  void scrollToEnd() const;
  // Whether the end of a view's text is in sight.
  [[nodiscard]] bool showsItsEnd() const;

 private:
  std::shared_ptr<const NativeControl> native_;
};

class Window : public Control {
 public:
  using Control::Control;

  // Its control with this name; none if there is none.
  [[nodiscard]] Control control(const std::wstring& name) const;

  // The size of its client area, at (0, 0), and making it so.
  [[nodiscard]] Box clientSize() const;
  void setClientSize(int width, int height) const;
  // Moves the upper left corner of its frame to this point of the screen.
  void moveTo(Point corner) const;

  // Whether the keyboard is its.
  [[nodiscard]] bool isActive() const;
  void activate() const;

  enum class State { normal, minimized, maximized };
  [[nodiscard]] State state() const;
  void minimize() const;
  void maximize() const;
  void restore() const;

  // The window that it belongs to; none for the main window.
  [[nodiscard]] Window owner() const;

  // Asks it to close, as its close box does; does not wait.
  void close() const;
};

// Whether the screen shows a window larger than it is in its own pixels: then colours can be told,
// but not the edges between them.
[[nodiscard]] bool isShownScaled(const Window& window);

// The colour that the screen shows at this point of a control.
[[nodiscard]] Color screenPixel(const Control& control, Point point);

// Clicks into the middle of a control that nothing covers.
void clickWithMouse(const Control& control);

// A key of the keyboard; digits and small letters are themselves.
enum class Key : char {
  tab = 1,
  enter,
  escape,
  space,
  left,
  right,
  up,
  down,
  home,
  end,
  insert,
  control,
  shift,
  alt
};
[[nodiscard]] constexpr Key key(char character) { return static_cast<Key>(character); }

// Types keys into the active window, all at once.
void typeKeys(const std::vector<Key>& keys);
// Presses these keys one after the other and releases them in the opposite order.
void typeChord(const std::vector<Key>& keys);

// What programs put on the clipboard while it lives.
class Clipboard {
 public:
  Clipboard();
  [[nodiscard]] bool hasNews() const;
  // The text on it, with lines that end with "\n"; nothing while another program uses it.
  [[nodiscard]] std::optional<std::wstring> text() const;

 private:
  unsigned long former_;  // what tells news from what was there
};

}  // namespace quillgate::test
