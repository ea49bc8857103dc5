// The system's file dialogs and error boxes. UI thread only; each call runs the dialog's own
// message loop until the dialog is closed. The owner may be destroyed in the meantime.
#pragma once

#include <windows.h>

#include <optional>
#include <string>

#include "ui/dialogs.h"

namespace quillgate {

// Asks for a file to write, in an existing folder, and before overwriting one; nothing when the
// user cancels.
[[nodiscard]] std::optional<std::wstring> askForSavePath(HWND owner, const FileDialog& dialog);

// Asks for an existing file; nothing when the user cancels.
[[nodiscard]] std::optional<std::wstring> askForOpenPath(HWND owner, const FileDialog& dialog);

void showError(HWND owner, const wchar_t* text);

}  // namespace quillgate
