#include "ui/qt/controls.h"

#include <QKeyEvent>

#include "ui/qt/text.h"

namespace quillgate {

Button::Button(const TextControl& control, QWidget* parent)
    : QPushButton(toQt(control.text), parent) {
  setGeometry(toQt(control.place));
}

void Button::keyPressEvent(QKeyEvent* event) {
  if (event->key() == Qt::Key_Return || event->key() == Qt::Key_Enter) {
    click();
  } else {
    QPushButton::keyPressEvent(event);
  }
}

void addLabel(const TextControl& control, QWidget* parent) {
  auto* label = new QLabel(toQt(control.text), parent);
  label->setGeometry(toQt(control.place));
}

}  // namespace quillgate
