#include "ui/qt/secondary_window.h"

#include <QCloseEvent>
#include <QWindow>

#include "ui/qt/controls.h"
#include "ui/qt/text.h"

namespace quillgate {
namespace {

// With these colours, controls that take no input look as those that do. Themes may make their
// texts so pale that nobody can read them.
QPalette readableWhenDisabled(QPalette palette) {
  for (const auto role : {QPalette::WindowText, QPalette::Text, QPalette::ButtonText}) {
    palette.setBrush(QPalette::Disabled, role, palette.brush(QPalette::Active, role));
  }
  return palette;
}

// Qt's name for the kind of an X11 window, and its number for an ordinary one.
constexpr const char* kX11WindowType = "_q_xcb_wm_window_type";
constexpr int kNormalX11Window = 1;

}  // namespace

SecondaryWindow::SecondaryWindow(const wchar_t* title, const Size& clientSize, QWidget* mainWindow)
    : QWidget(mainWindow, Qt::Window), content_(new QWidget(this)) {
  belongToMainWindow();
  setAttribute(Qt::WA_DeleteOnClose);
  setWindowTitle(toQt(title));
  resize(toQt(clientSize));
  content_->resize(size());
}

// Qt tells X11 which window another one belongs to only for dialogs, and window managers give
// dialogs no buttons to minimise and maximise. So the window is a dialog that looks like an
// ordinary window.
void SecondaryWindow::belongToMainWindow() {
  createWinId();
  QWindow& window = *windowHandle();
  window.setProperty(kX11WindowType, kNormalX11Window);
  window.setFlags(Qt::Dialog | Qt::WindowTitleHint | Qt::WindowSystemMenuHint |
                  Qt::WindowMinMaxButtonsHint | Qt::WindowCloseButtonHint);
}

void SecondaryWindow::bringToFront() {
  showNormal();
  raise();
  activateWindow();
}

void SecondaryWindow::block(QDialog* dialog) {
  dialog_ = dialog;
  content_->setPalette(readableWhenDisabled(palette()));
  content_->setEnabled(false);
  connect(dialog, &QDialog::finished, this, [this, dialog] {
    if (dialog_ != dialog) return;  // the next one is open
    dialog_ = nullptr;
    content_->setEnabled(true);
    content_->setPalette({});
  });
}

void SecondaryWindow::closeEvent(QCloseEvent* event) { event->setAccepted(dialog_ == nullptr); }

void SecondaryWindow::resizeEvent(QResizeEvent* event) {
  QWidget::resizeEvent(event);
  content_->resize(size());
  layOut(fromQt(size()));
}

void SecondaryWindow::changeEvent(QEvent* event) {
  QWidget::changeEvent(event);
  // Whoever goes to a window that is blocked wants the dialog.
  if (event->type() == QEvent::ActivationChange && isActiveWindow() && dialog_ != nullptr) {
    dialog_->raise();
    dialog_->activateWindow();
  }
}

}  // namespace quillgate
