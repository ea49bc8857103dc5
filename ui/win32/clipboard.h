// The clipboard that all programs share. UI thread only.
#pragma once

#include <windows.h>

#include <string_view>

namespace quillgate {

// Replaces the content of the clipboard by `text`. Does nothing while another program uses it.
void copyToClipboard(HWND owner, std::wstring_view text);

}  // namespace quillgate
