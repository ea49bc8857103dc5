#include "ui/win32/status_indicator.h"

#include "ui/main_view.h"
#include "ui/win32/gdi.h"

namespace quillgate {

LRESULT StatusIndicator::onMessage(UINT message, WPARAM wParam, LPARAM lParam) {
  switch (message) {
    case WM_PAINT:
      onPaint();
      return 0;
    default:
      return defaultResult(message, wParam, lParam);
  }
}

void StatusIndicator::onPaint() {
  const PaintContext paint(handle());
  const HDC context = paint.get();

  RECT client{};
  GetClientRect(handle(), &client);
  FillRect(context, &client, kWindowColorBrush);

  const Rgb color = indicatorColor(server_.isRunning());
  const GdiObject brush(CreateSolidBrush(RGB(color.red, color.green, color.blue)));
  const GdiObject pen(CreatePen(PS_SOLID, 1, RGB(0, 0, 0)));
  const Selection selectedBrush(context, brush);
  const Selection selectedPen(context, pen);
  const Circle circle = indicatorCircle({client.right, client.bottom});
  Ellipse(context, circle.x, circle.y, circle.x + circle.diameter, circle.y + circle.diameter);
}

}  // namespace quillgate
