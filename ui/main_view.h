// What the main window shows and decides, without a toolkit. Pure; UI thread.
#pragma once

#include <algorithm>
#include <cstdint>

#include "ui/layout.h"

namespace quillgate {

inline constexpr const wchar_t* kMainTitle = L"Quillgate PRO v1.1";

// The client area while the status panel is folded in, and how much higher it is with it.
inline constexpr Size kMainSize{680, 50};
inline constexpr int kStatusPanelGrowth = 430;

inline constexpr Rectangle kIndicatorPlace{14, 18, 20, 20};

// The buttons from left to right. The first one's caption is startStopCaption() once the server has
// been started.
inline constexpr TextControl kStartStopButton{L"Stop server", {44, 6, 142, 32}};
inline constexpr TextControl kConfigButton{L"Config", {194, 6, 142, 32}};
inline constexpr TextControl kMonitorButton{L"Monitor", {344, 6, 142, 32}};
inline constexpr TextControl kLogButton{L"Log", {498, 6, 82, 32}};
inline constexpr TextControl kStatusButton{L"Status", {586, 6, 82, 32}};

// The place of the status panel in a client area of this size.
[[nodiscard]] constexpr Rectangle statusPanelPlace(Size client) {
  return {10, 60, client.width - 20, client.height - 70};
}

// What screen readers call the status panel.
inline constexpr const wchar_t* kStatusPanelName = L"Status report";

// The caption of the start/stop button.
[[nodiscard]] constexpr const wchar_t* startStopCaption(bool running) {
  return running ? L"Stop server" : L"Start server";
}

// What screen readers call the round status indicator.
[[nodiscard]] constexpr const wchar_t* indicatorName(bool running) {
  return running ? L"Server running" : L"Server stopped";
}

struct Rgb {
  std::uint8_t red;
  std::uint8_t green;
  std::uint8_t blue;
};

// The fill of the indicator; its outline is black.
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
[[nodiscard]] constexpr Circle indicatorCircle(Size client) {
  const int diameter = std::max(std::min(client.width, client.height) - 2, 2);
  return {(client.width - diameter) / 2, (client.height - diameter) / 2, diameter};
}

}  // namespace quillgate
