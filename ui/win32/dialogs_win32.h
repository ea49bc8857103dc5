// The system's file dialogs and error boxes. UI thread only; each call runs the dialog's own
// message loop until the dialog is closed.
//
// Only its own procedure may end such a dialog (documentation of EndDialog): neither it nor its
// owner may be destroyed while its loop runs. So whoever is to destroy a window calls endDialogs()
// first.
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

// Ends the dialogs that are open, as if they were cancelled, and then, when all calls above have
// returned, the program's message loop. False when there is none; then nothing happens.
[[nodiscard]] bool endDialogs();

}  // namespace quillgate
