// What the main window shows and decides, without a toolkit. Pure; UI thread.
#pragma once

#include <cstdint>
#include <string_view>

namespace quillgate {

// The caption of the start/stop button.
[[nodiscard]] constexpr std::wstring_view startStopCaption(bool running) {
  return running ? L"Stop server" : L"Start server";
}

struct Rgb {
  std::uint8_t red;
  std::uint8_t green;
  std::uint8_t blue;
};

// The fill of the round status indicator.
[[nodiscard]] constexpr Rgb indicatorColor(bool running) {
  return running ? Rgb{0, 180, 0} : Rgb{200, 0, 0};
}

struct Circle {
  int x;  // left edge of the box around it
  int y;  // top edge
  int diameter;
};

// The indicator's circle in a client area of this size, in pixels: centred with a margin of one
// pixel, but at least 2 in diameter.
[[nodiscard]] constexpr Circle indicatorCircle(int width, int height) {
  const int room = (width < height ? width : height) - 2;
  const int diameter = room < 2 ? 2 : room;
  return {(width - diameter) / 2, (height - diameter) / 2, diameter};
}

}  // namespace quillgate
