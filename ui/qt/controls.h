// The controls of the windows, each at the place that ui/ gives it. UI thread.
#pragma once

#include <QLabel>
#include <QPushButton>
#include <QRect>
#include <QSize>

#include "ui/layout.h"

namespace quillgate {

[[nodiscard]] inline QRect toQt(const Rectangle& place) {
  return {place.x, place.y, place.width, place.height};
}
[[nodiscard]] inline QSize toQt(const Size& size) { return {size.width, size.height}; }
[[nodiscard]] inline Size fromQt(const QSize& size) { return {size.width(), size.height()}; }

// A push button that Return presses as Space does.
class Button final : public QPushButton {
 public:
  Button(const TextControl& control, QWidget* parent);

 protected:
  void keyPressEvent(QKeyEvent* event) override;
};

// A label with this text at this place.
void addLabel(const TextControl& control, QWidget* parent);

}  // namespace quillgate
