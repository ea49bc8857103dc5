// What the monitor window shows besides the traffic: texts and places. Pure; UI thread.
#pragma once

#include <algorithm>

#include "ui/layout.h"

namespace quillgate {

inline constexpr const wchar_t* kMonitorTitle = L"Monitor";
inline constexpr Size kMonitorSize{964, 521};  // client area at first

// What screen readers call the controls without a caption.
inline constexpr const wchar_t* kFilterListName = L"Filter";
inline constexpr const wchar_t* kFormatListName = L"Format";
inline constexpr const wchar_t* kMonitorViewName = L"Captured traffic";

// The controls in a client area of this size. A closed list is as high as the buttons beside it.
struct MonitorControlPlaces {
  Rectangle filter;
  Rectangle format;
  TextControl save;
  TextControl clear;
  Rectangle view;
};
[[nodiscard]] constexpr MonitorControlPlaces monitorPlaces(Size client) {
  return {.filter = {10, 10, std::max(client.width - 380, 120), 28},
          .format = {client.width - 360, 10, 110, 28},
          .save = {L"Save TXT", {client.width - 240, 10, 110, 28}},
          .clear = {L"Clear", {client.width - 120, 10, 110, 28}},
          .view = {10, 48, client.width - 20, client.height - 58}};
}

}  // namespace quillgate
