#include "ui/win32/clipboard.h"

#include <memory>

namespace quillgate {

namespace {

struct FreeMemory {
  void operator()(HGLOBAL memory) const { GlobalFree(memory); }
};
using GlobalMemory = std::unique_ptr<void, FreeMemory>;

// The text with a zero at its end; null when there is no memory.
GlobalMemory memoryWith(std::wstring_view text) {
  GlobalMemory memory(GlobalAlloc(GMEM_MOVEABLE, (text.size() + 1) * sizeof(wchar_t)));
  if (!memory) return memory;
  auto* const characters = static_cast<wchar_t*>(GlobalLock(memory.get()));
  characters[text.copy(characters, text.size())] = L'\0';
  GlobalUnlock(memory.get());
  return memory;
}

}  // namespace

void copyToClipboard(HWND owner, std::wstring_view text) {
  GlobalMemory memory = memoryWith(text);
  if (!memory || !OpenClipboard(owner)) return;
  EmptyClipboard();
  // What the clipboard has taken is no longer ours.
  if (SetClipboardData(CF_UNICODETEXT, memory.get()) != nullptr)
    static_cast<void>(memory.release());
  CloseClipboard();
}

}  // namespace quillgate
