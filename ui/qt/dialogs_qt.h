// The file dialogs and error boxes. UI thread.
//
// None of them runs an event loop of its own: each blocks only the window that asks, and goes with
// it. So the main window stays usable, and closing it takes everything with it.
#pragma once

#include <functional>
#include <string>

#include "ui/dialogs.h"
#include "ui/qt/secondary_window.h"

namespace quillgate {

// Called with the chosen path; not called when the user cancels or the window goes.
using PathAction = std::function<void(const std::wstring& path)>;

// Asks for a file to write, and before overwriting one.
void askForSavePath(SecondaryWindow& owner, const FileDialog& dialog, PathAction action);

// Asks for an existing file.
void askForOpenPath(SecondaryWindow& owner, const FileDialog& dialog, PathAction action);

void showError(SecondaryWindow& owner, const wchar_t* text);

}  // namespace quillgate
