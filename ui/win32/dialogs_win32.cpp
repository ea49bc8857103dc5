#include "ui/win32/dialogs_win32.h"

// After windows.h.
#include <commdlg.h>

#include <cwchar>

namespace quillgate {

namespace {

int openDialogs = 0;
bool dialogsEnd = false;

// A dialog while its loop runs.
class OpenDialog {
 public:
  OpenDialog() { ++openDialogs; }
  ~OpenDialog() {
    --openDialogs;
    // A loop that ends because of WM_QUIT posts it again for the next one. In case one does not:
    if (dialogsEnd) PostQuitMessage(0);
  }
  OpenDialog(const OpenDialog&) = delete;
  OpenDialog& operator=(const OpenDialog&) = delete;
};

// Name, pattern, name, pattern, each ended by a zero, and one more zero at the end.
std::wstring filterText(const FileDialog& dialog) {
  std::wstring text;
  for (const FileFilter& filter : dialog.filters) {
    text += filter.name;
    text += L'\0';
    text += filter.pattern;
    text += L'\0';
  }
  return text;
}

// Dialogs change the current folder, which would move data files with a relative path.
class CurrentFolderKept {
 public:
  CurrentFolderKept() : folder_(GetCurrentDirectoryW(0, nullptr), L'\0') {
    GetCurrentDirectoryW(static_cast<DWORD>(folder_.size()), folder_.data());
  }
  ~CurrentFolderKept() { SetCurrentDirectoryW(folder_.c_str()); }
  CurrentFolderKept(const CurrentFolderKept&) = delete;
  CurrentFolderKept& operator=(const CurrentFolderKept&) = delete;

 private:
  std::wstring folder_;
};

std::optional<std::wstring> ask(BOOL(WINAPI* show)(OPENFILENAMEW*), HWND owner,
                                const FileDialog& dialog, DWORD flags) {
  const std::wstring filters = filterText(dialog);
  wchar_t path[260];
  std::wcscpy(path, dialog.fileName);

  OPENFILENAMEW request{};
  request.lStructSize = sizeof request;
  request.hwndOwner = owner;
  request.lpstrFilter = filters.c_str();
  request.nFilterIndex = 1;
  request.lpstrFile = path;
  request.nMaxFile = static_cast<DWORD>(std::size(path));
  request.lpstrDefExt = dialog.extension;
  request.Flags = flags;
  const CurrentFolderKept folderKept;
  const OpenDialog open;
  // The user has chosen nothing in a dialog that was ended. Wine's takes the end of its question
  // whether to replace a file for a yes.
  if (!show(&request) || dialogsEnd) return std::nullopt;
  return path;
}

}  // namespace

std::optional<std::wstring> askForSavePath(HWND owner, const FileDialog& dialog) {
  return ask(GetSaveFileNameW, owner, dialog, OFN_OVERWRITEPROMPT | OFN_PATHMUSTEXIST);
}

std::optional<std::wstring> askForOpenPath(HWND owner, const FileDialog& dialog) {
  return ask(GetOpenFileNameW, owner, dialog, OFN_PATHMUSTEXIST | OFN_FILEMUSTEXIST);
}

void showError(HWND owner, const wchar_t* text) {
  const OpenDialog open;
  MessageBoxW(owner, text, kErrorTitle, MB_OK | MB_ICONERROR);
}

bool endDialogs() {
  if (openDialogs == 0) return false;
  dialogsEnd = true;
  PostQuitMessage(0);
  return true;
}

}  // namespace quillgate
