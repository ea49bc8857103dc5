// Owners for what painting borrows from the system. UI thread only.
#pragma once

#include <windows.h>

#include <memory>

namespace quillgate {

// Owns a brush, a pen or another GDI object.
struct DeleteGdiObject {
  void operator()(HGDIOBJ object) const { DeleteObject(object); }
};
using GdiObject = std::unique_ptr<void, DeleteGdiObject>;

// Puts an object into a device context and the former one back at the end.
class Selection {
 public:
  Selection(HDC context, const GdiObject& object)
      : context_(context), former_(SelectObject(context, object.get())) {}
  ~Selection() { SelectObject(context_, former_); }
  Selection(const Selection&) = delete;
  Selection& operator=(const Selection&) = delete;

 private:
  HDC context_;
  HGDIOBJ former_;
};

// The device context between the beginning and the end of a paint message.
class PaintContext {
 public:
  explicit PaintContext(HWND window) : window_(window) { BeginPaint(window, &paint_); }
  ~PaintContext() { EndPaint(window_, &paint_); }
  PaintContext(const PaintContext&) = delete;
  PaintContext& operator=(const PaintContext&) = delete;

  [[nodiscard]] HDC get() const { return paint_.hdc; }

 private:
  HWND window_;
  PAINTSTRUCT paint_{};
};

}  // namespace quillgate
