#include "ui/win32/window.h"

#include <utility>

#include "ui/win32/ui_state.h"

namespace quillgate {

void Window::registerClass(const wchar_t* className) {
  WNDCLASSW windowClass{};
  windowClass.lpfnWndProc = procedure;
  windowClass.hInstance = uiState().appInstance;
  windowClass.hCursor = LoadCursorW(nullptr, IDC_ARROW);
  windowClass.hbrBackground = kWindowColorBrush;
  windowClass.lpszClassName = className;
  RegisterClassW(&windowClass);
}

HWND Window::create(std::shared_ptr<Window> object, const wchar_t* className, const wchar_t* title,
                    DWORD style, const Rectangle& rectangle, HWND parent) {
  return CreateWindowExW(0, className, title, style, rectangle.x, rectangle.y, rectangle.width,
                         rectangle.height, parent, nullptr, uiState().appInstance, &object);
}

LRESULT CALLBACK Window::procedure(HWND handle, UINT message, WPARAM wParam,
                                   LPARAM lParam) noexcept {
  if (message == WM_NCCREATE) {
    const auto& creation = *reinterpret_cast<const CREATESTRUCTW*>(lParam);
    auto& object = *static_cast<std::shared_ptr<Window>*>(creation.lpCreateParams);
    object->handle_ = handle;
    object->self_ = object;
    SetWindowLongPtrW(handle, GWLP_USERDATA, reinterpret_cast<LONG_PTR>(object.get()));
  }
  const auto* bound = reinterpret_cast<const Window*>(GetWindowLongPtrW(handle, GWLP_USERDATA));
  if (bound == nullptr) return DefWindowProcW(handle, message, wParam, lParam);

  const std::shared_ptr<Window> window = bound->self_;
  const LRESULT result = window->onMessage(message, wParam, lParam);
  if (message == WM_NCDESTROY) {
    SetWindowLongPtrW(handle, GWLP_USERDATA, 0);
    window->handle_ = nullptr;
    window->self_.reset();
  }
  return result;
}

HWND createControl(HWND parent, const ControlRow& row) {
  const Rectangle& r = row.rectangle;
  const HWND control = CreateWindowExW(
      row.exStyle, row.windowClass, row.text, WS_CHILD | WS_VISIBLE | row.style, r.x, r.y, r.width,
      r.height, parent, reinterpret_cast<HMENU>(static_cast<INT_PTR>(row.id)),
      uiState().appInstance, nullptr);
  SendMessageW(control, WM_SETFONT, reinterpret_cast<WPARAM>(uiState().uiFont), TRUE);
  return control;
}

void createControls(HWND parent, std::span<const ControlRow> rows) {
  for (const ControlRow& row : rows) createControl(parent, row);
}

void placeControl(HWND control, const Rectangle& rectangle) {
  if (control == nullptr) return;
  SetWindowPos(control, nullptr, rectangle.x, rectangle.y, rectangle.width, rectangle.height,
               SWP_NOZORDER);
}

void placeControls(HWND parent, std::span<const Placement> placements) {
  for (const Placement& placement : placements) {
    placeControl(GetDlgItem(parent, placement.id), placement.rectangle);
  }
}

Size clientSize(HWND window) {
  RECT client{};
  GetClientRect(window, &client);
  return {client.right, client.bottom};
}

}  // namespace quillgate
