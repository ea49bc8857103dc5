// The clipboard that all programs share. UI thread only.
#pragma once

#include <windows.h>

#include <string_view>

namespace quillgate {

// Puts `text` in the place of whatever is there; does nothing while another program uses the
// clipboard.
void copyToClipboard(HWND owner, std::wstring_view text);

}  // namespace quillgate
