// Windows as the X server and the window manager see them, and the mouse and the keyboard. The test
// program's own thread only.
#pragma once

#include <sys/types.h>

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "tests/ui/driver.h"

namespace quillgate::test::x11 {

// A window's number; 0 for none.
using WindowId = unsigned long;

[[nodiscard]] bool hasWindowManager();

// The windows of a process that are shown or minimised, as far as the window manager knows them;
// where there is none, those that are shown.
[[nodiscard]] std::vector<WindowId> windowsOf(pid_t process);

// The process that a window says it belongs to; 0 for none.
[[nodiscard]] pid_t processOf(WindowId window);

[[nodiscard]] std::wstring titleOf(WindowId window);
// What a desktop finds the window's program by; empty when it says nothing.
[[nodiscard]] std::string classOf(WindowId window);
[[nodiscard]] bool isThere(WindowId window);
[[nodiscard]] bool isShown(WindowId window);
// The window that this one belongs to, as the window manager is told.
[[nodiscard]] WindowId ownerOf(WindowId window);
// Without the frame that a window manager adds; on the screen.
[[nodiscard]] Box clientPlace(WindowId window);
// The numbers in a property of the window, of up to 32 bits each; empty when it has none.
[[nodiscard]] std::vector<unsigned long> property(WindowId window, const char* name);
// The same, where they stand for names.
[[nodiscard]] std::vector<std::string> names(WindowId window, const char* property);

void resize(WindowId window, int width, int height);
// The upper left corner of the frame.
void move(WindowId window, Point corner);
[[nodiscard]] WindowId activeWindow();
void activate(WindowId window);
[[nodiscard]] Window::State stateOf(WindowId window);
void minimize(WindowId window);
void maximize(WindowId window);
void restore(WindowId window);
void close(WindowId window);

[[nodiscard]] Color pixel(Point onScreen);
// The smallest box, on the screen, around everything in `area` that is clearly darker or lighter
// than the pixel at its top left, such as a text; empty where there is nothing.
[[nodiscard]] Box ink(const Box& area);

void moveMouse(Point onScreen);
// Presses and releases a button of the mouse: 1 is the left one, 4 and 5 turn the wheel up and
// down.
void clickMouse(unsigned button);
void typeKeys(const std::vector<Key>& keys);
void typeChord(const std::vector<Key>& keys);

// Makes a window of this test program the owner of the clipboard, and returns it.
WindowId takeClipboard();
[[nodiscard]] WindowId clipboardOwner();
// Nothing when the owner gives no text.
[[nodiscard]] std::optional<std::wstring> clipboardText();

}  // namespace quillgate::test::x11
