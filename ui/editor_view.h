// What the rule editor shows besides the rules: texts and places. Pure; UI thread.
#pragma once

#include <array>
#include <cstddef>

#include "ui/layout.h"

namespace quillgate {

inline constexpr const wchar_t* kEditorTitle = L"Config";
inline constexpr Size kEditorSize{684, 391};  // client area at first

inline constexpr TextControl kEditorLabels[] = {
    {L"Port Forwarding Rules:", {10, 10, 400, 20}},
    {L"On", {10, 36, 40, 18}},
    {L"Proto", {70, 36, 70, 18}},
    {L"Local Port", {150, 36, 100, 18}},
    {L"Target IP", {260, 36, 240, 18}},
    {L"Target Port", {520, 36, 100, 18}},
};

// The fields of the row of the rule with this index. A closed list is as high as the texts beside
// it.
struct RowPlaces {
  Rectangle enabled;
  Rectangle protocol;
  Rectangle localPort;
  Rectangle targetIp;
  Rectangle targetPort;
};
[[nodiscard]] constexpr RowPlaces rowPlaces(std::size_t rule) {
  const int y = 58 + 28 * static_cast<int>(rule);
  return {.enabled = {10, y + 4, 40, 20},
          .protocol = {70, y, 70, 22},
          .localPort = {150, y, 90, 22},
          .targetIp = {260, y, 250, 22},
          .targetPort = {520, y, 90, 22}};
}

// The buttons from left to right, in a client area that was this wide when the window was created.
// They stay there when it is resized.
struct EditorButtons {
  TextControl importXml;
  TextControl exportXml;
  TextControl save;
  TextControl cancel;
};
[[nodiscard]] constexpr EditorButtons editorButtons(int clientWidth) {
  return {.importXml = {L"Import XML", {10, 356, 120, 30}},
          .exportXml = {L"Export XML", {140, 356, 120, 30}},
          .save = {L"Save", {clientWidth - 220, 356, 90, 30}},
          .cancel = {L"Cancel", {clientWidth - 120, 356, 90, 30}}};
}

}  // namespace quillgate
