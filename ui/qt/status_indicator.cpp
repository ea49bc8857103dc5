#include "ui/qt/status_indicator.h"

#include <QPainter>

#include "ui/main_view.h"
#include "ui/qt/controls.h"
#include "ui/qt/text.h"

namespace quillgate {

StatusIndicator::StatusIndicator(const ForwardingServer& server, QWidget* parent)
    : QLabel(parent), server_(server) {
  setGeometry(toQt(kIndicatorPlace));
  refresh();
}

void StatusIndicator::refresh() {
  setAccessibleName(toQt(indicatorName(server_.isRunning())));
  update();
}

void StatusIndicator::paintEvent(QPaintEvent*) {
  const Circle circle = indicatorCircle(fromQt(size()));
  const Rgb color = indicatorColor(server_.isRunning());
  QPainter painter(this);
  // On a screen with one pixel for each of ours, smoothing would make a dark grey of the outline.
  painter.setRenderHint(QPainter::Antialiasing, devicePixelRatioF() > 1);
  painter.setPen(QPen(Qt::black, 1));
  painter.setBrush(QColor(color.red, color.green, color.blue));
  // The middle of the outline.
  painter.drawEllipse(
      QRectF(circle.x + 0.5, circle.y + 0.5, circle.diameter - 1, circle.diameter - 1));
}

}  // namespace quillgate
