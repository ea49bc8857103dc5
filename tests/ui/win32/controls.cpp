#include "tests/ui/win32/controls.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cstdlib>
#include <cwchar>

#include "tests/support/deadline.h"
#include "tests/support/wine.h"

namespace quillgate::test {

namespace {

// The size of the smallest box around everything in `area` that has another colour than its first
// pixel.
Box inkIn(HDC context, const Box& area) {
  const COLORREF paper = GetPixel(context, area.x, area.y);
  int left = area.width, top = area.height, right = -1, bottom = -1;
  for (int y = 0; y < area.height; ++y) {
    for (int x = 0; x < area.width; ++x) {
      if (GetPixel(context, area.x + x, area.y + y) == paper) continue;
      left = std::min(left, x);
      top = std::min(top, y);
      right = std::max(right, x);
      bottom = std::max(bottom, y);
    }
  }
  return {0, 0, right - left + 1, bottom - top + 1};
}

// How wide and high the text is that the screen shows inside a control with an even background.
Box screenInk(HWND control) {
  const Box size = clientSize(control);
  POINT origin{0, 0};
  ClientToScreen(control, &origin);
  const HDC screen = GetDC(nullptr);
  const int frame = classOf(control) == L"Button" ? 4 : 0;
  const Box ink = inkIn(screen, {origin.x + frame, origin.y + frame, size.width - 2 * frame,
                                 size.height - 2 * frame});
  ReleaseDC(nullptr, screen);
  return ink;
}

// How wide and high `text` is in the program's font.
Box inkOfText(const std::wstring& text) {
  LOGFONTW look{};
  look.lfHeight = -14;
  look.lfWeight = FW_NORMAL;
  std::wcscpy(look.lfFaceName, L"Segoe UI");
  const HFONT font = CreateFontIndirectW(&look);
  const HDC screen = GetDC(nullptr);
  const HDC memory = CreateCompatibleDC(screen);
  const HBITMAP bitmap = CreateCompatibleBitmap(screen, 400, 40);
  SelectObject(memory, bitmap);
  SelectObject(memory, font);
  RECT area{0, 0, 400, 40};
  FillRect(memory, &area, static_cast<HBRUSH>(GetStockObject(WHITE_BRUSH)));
  DrawTextW(memory, text.c_str(), -1, &area, DT_CENTER | DT_VCENTER | DT_SINGLELINE);
  const Box ink = inkIn(memory, {0, 0, 400, 40});
  DeleteDC(memory);
  DeleteObject(bitmap);
  DeleteObject(font);
  ReleaseDC(nullptr, screen);
  return ink;
}

// All texts of a list, by the messages that give their number, a length and a text. The list may
// change meanwhile: then they are those of no one moment.
std::vector<std::wstring> textsIn(HWND list, UINT countMessage, UINT lengthMessage,
                                  UINT textMessage) {
  constexpr LRESULT kRoom = 4096;  // for a text that has become longer since its length was asked
  std::vector<std::wstring> texts;
  const auto count = static_cast<WPARAM>(send(list, countMessage));
  for (WPARAM i = 0; i < count; ++i) {
    const LRESULT room = std::max(send(list, lengthMessage, i), LRESULT{0}) + kRoom;
    std::wstring text(static_cast<std::size_t>(room), L'\0');
    const LRESULT length = send(list, textMessage, i, reinterpret_cast<LPARAM>(text.data()));
    if (length < 0) break;
    text.resize(static_cast<std::size_t>(length));
    texts.push_back(text);
  }
  return texts;
}

// While it lives, this thread counts in pixels of the screen.
class ScreenPixels {
 public:
  ScreenPixels() = default;
  ~ScreenPixels() { SetThreadDpiAwarenessContext(former_); }
  ScreenPixels(const ScreenPixels&) = delete;
  ScreenPixels& operator=(const ScreenPixels&) = delete;

 private:
  DPI_AWARENESS_CONTEXT former_ =
      SetThreadDpiAwarenessContext(DPI_AWARENESS_CONTEXT_PER_MONITOR_AWARE);
};

INPUT keyInput(WORD key, DWORD flags) {
  INPUT input{};
  input.type = INPUT_KEYBOARD;
  input.ki.wVk = key;
  input.ki.dwFlags = flags;
  return input;
}

INPUT mouseInput(DWORD flags) {
  INPUT input{};
  input.type = INPUT_MOUSE;
  input.mi.dwFlags = flags;
  return input;
}

void sendInput(std::vector<INPUT> inputs) {
  EXPECT_EQ(SendInput(static_cast<UINT>(inputs.size()), inputs.data(), sizeof(INPUT)),
            inputs.size());
}

}  // namespace

LRESULT send(HWND window, UINT message, WPARAM wParam, LPARAM lParam) {
  constexpr auto kMilliseconds = static_cast<UINT>(std::chrono::milliseconds(kDeadline).count());
  DWORD_PTR result = 0;
  const LRESULT answered =
      SendMessageTimeoutW(window, message, wParam, lParam, SMTO_NORMAL, kMilliseconds, &result);
  EXPECT_TRUE(answered != 0 || !IsWindow(window)) << "no answer to message " << message;
  return static_cast<LRESULT>(result);
}

LRESULT sendCommand(HWND window, int id, int code) {
  return send(window, WM_COMMAND, MAKEWPARAM(id, code));
}

void click(HWND button) { send(button, BM_CLICK); }

void clickWithMouse(HWND control) {
  const Box place = screenPlace(control);
  const MouseDrag click({place.x + place.width / 2, place.y + place.height / 2});
}

void typeKeys(const std::vector<WORD>& keys) {
  std::vector<INPUT> inputs;
  for (const WORD key : keys) {
    inputs.push_back(keyInput(key, 0));
    inputs.push_back(keyInput(key, KEYEVENTF_KEYUP));
  }
  sendInput(inputs);
}

void typeChord(const std::vector<WORD>& keys) {
  std::vector<INPUT> inputs;
  for (const WORD key : keys) inputs.push_back(keyInput(key, 0));
  for (std::size_t i = keys.size(); i > 0; --i) {
    inputs.push_back(keyInput(keys[i - 1], KEYEVENTF_KEYUP));
  }
  sendInput(inputs);
}

void bringToFront(HWND window) {
  // Windows heeds only a process that the last input came from. The mouse stays where it is.
  sendInput({mouseInput(MOUSEEVENTF_MOVE)});
  SetForegroundWindow(window);
}

MouseDrag::MouseDrag(POINT from) {
  moveTo(from);
  sendInput({mouseInput(MOUSEEVENTF_LEFTDOWN)});
}

MouseDrag::~MouseDrag() { sendInput({mouseInput(MOUSEEVENTF_LEFTUP)}); }

void MouseDrag::moveTo(POINT to) { SetCursorPos(to.x, to.y); }

bool MouseDrag::moveUntil(POINT to, const std::function<bool()>& isThere) {
  moveTo(to);
  return eventually([&] {
    if (eventually(isThere, std::chrono::milliseconds(500))) return true;
    moveTo({to.x, to.y + 1});
    moveTo(to);
    return false;
  });
}

FullDragging::FullDragging() {
  SystemParametersInfoW(SPI_GETDRAGFULLWINDOWS, 0, &former_, 0);
  SystemParametersInfoW(SPI_SETDRAGFULLWINDOWS, TRUE, nullptr, 0);
}

FullDragging::~FullDragging() {
  SystemParametersInfoW(SPI_SETDRAGFULLWINDOWS, static_cast<UINT>(former_), nullptr, 0);
}

bool hasFocus(HWND window) {
  GUITHREADINFO foreground{};
  foreground.cbSize = sizeof foreground;
  return GetGUIThreadInfo(0, &foreground) != 0 && foreground.hwndFocus == window;
}

std::wstring textOf(HWND window) {
  std::wstring text(static_cast<std::size_t>(send(window, WM_GETTEXTLENGTH)) + 1, L'\0');
  text.resize(static_cast<std::size_t>(
      send(window, WM_GETTEXT, text.size(), reinterpret_cast<LPARAM>(text.data()))));
  return text;
}

std::wstring classOf(HWND window) {
  std::array<wchar_t, 256> name{};
  GetClassNameW(window, name.data(), static_cast<int>(name.size()));
  return name.data();
}

DWORD styleOf(HWND window) { return static_cast<DWORD>(GetWindowLongW(window, GWL_STYLE)); }

DWORD exStyleOf(HWND window) { return static_cast<DWORD>(GetWindowLongW(window, GWL_EXSTYLE)); }

DWORD givenStyleOf(HWND control) {
  DWORD added = WS_CLIPSIBLINGS;
  if (!runsUnderWine()) {
    if (classOf(control) == L"ComboBox") added |= CBS_HASSTRINGS;
    if (classOf(control) == L"ListBox") added |= LBS_HASSTRINGS;
  }
  return styleOf(control) & ~added;
}

Box screenPlace(HWND window) {
  RECT outer{};
  GetWindowRect(window, &outer);
  return {outer.left, outer.top, outer.right - outer.left, outer.bottom - outer.top};
}

Box outerSize(HWND window) {
  const Box place = screenPlace(window);
  return {0, 0, place.width, place.height};
}

Box clientSize(HWND window) {
  RECT client{};
  GetClientRect(window, &client);
  return {0, 0, client.right, client.bottom};
}

Box placeOf(HWND child) {
  RECT place{};
  GetWindowRect(child, &place);
  MapWindowPoints(nullptr, GetParent(child), reinterpret_cast<POINT*>(&place), 2);
  return {place.left, place.top, place.right - place.left, place.bottom - place.top};
}

void setClientSize(HWND window, int width, int height) {
  const Box outer = outerSize(window);
  const Box client = clientSize(window);
  SetWindowPos(window, nullptr, 0, 0, outer.width + width - client.width,
               outer.height + height - client.height, SWP_NOMOVE | SWP_NOZORDER | SWP_NOACTIVATE);
  ASSERT_EQ(clientSize(window), (Box{0, 0, width, height}));
}

std::vector<HWND> childrenOf(HWND window) {
  std::vector<HWND> children;
  for (HWND child = GetWindow(window, GW_CHILD); child != nullptr;
       child = GetWindow(child, GW_HWNDNEXT)) {
    children.push_back(child);
  }
  return children;
}

bool isShownScaled(HWND window) {
  const Box place = screenPlace(window);
  POINT left{place.x, place.y};
  POINT right{place.x + place.width, place.y};
  LogicalToPhysicalPointForPerMonitorDPI(window, &left);
  LogicalToPhysicalPointForPerMonitorDPI(window, &right);
  return right.x - left.x != place.width;
}

COLORREF screenPixel(HWND window, int x, int y) {
  POINT point{x, y};
  ClientToScreen(window, &point);
  // Neither the program nor this knows of scaling; the screen counts its own pixels.
  LogicalToPhysicalPointForPerMonitorDPI(window, &point);
  const ScreenPixels unscaled;
  const HDC screen = GetDC(nullptr);
  const COLORREF color = GetPixel(screen, point.x, point.y);
  ReleaseDC(nullptr, screen);
  return color;
}

bool showsItsTextInTheProgramsFont(HWND control) {
  // On Windows edges of characters are smoothed, so that the outermost pixel is a matter of taste.
  const int tolerance = runsUnderWine() ? 0 : 1;
  const Box expected = inkOfText(textOf(control));
  return eventually([&] {
    const Box ink = screenInk(control);
    return std::abs(ink.width - expected.width) <= tolerance &&
           std::abs(ink.height - expected.height) <= tolerance;
  });
}

std::vector<std::wstring> linesOf(HWND listBox) {
  return textsIn(listBox, LB_GETCOUNT, LB_GETTEXTLEN, LB_GETTEXT);
}

std::vector<std::wstring> itemsOf(HWND comboBox) {
  return textsIn(comboBox, CB_GETCOUNT, CB_GETLBTEXTLEN, CB_GETLBTEXT);
}

std::optional<std::wstring> clipboardText() {
  if (!OpenClipboard(nullptr)) return std::nullopt;
  std::optional<std::wstring> text;
  if (const HANDLE data = GetClipboardData(CF_UNICODETEXT)) {
    text = static_cast<const wchar_t*>(GlobalLock(data));
    GlobalUnlock(data);
  }
  CloseClipboard();
  return text;
}

}  // namespace quillgate::test
