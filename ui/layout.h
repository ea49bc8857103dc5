// Places of controls, in logical pixels of the client area of their window. Pure; any thread.
#pragma once

namespace quillgate {

struct Size {
  int width;
  int height;

  bool operator==(const Size&) const = default;
};

struct Rectangle {
  int x;
  int y;
  int width;
  int height;

  bool operator==(const Rectangle&) const = default;
};

// A button with its caption, or a label with its text.
struct TextControl {
  const wchar_t* text;
  Rectangle place;
};

}  // namespace quillgate
