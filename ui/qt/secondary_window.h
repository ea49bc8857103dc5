// The common ground of the windows behind the main window's buttons. UI thread.
#pragma once

#include <QDialog>
#include <QResizeEvent>
#include <QWidget>

#include "ui/layout.h"

namespace quillgate {

// A resizable window that belongs to the main window: it stays above it, is closed with it, and
// deletes itself when it is closed. A dialog of its own blocks it, and no other window.
class SecondaryWindow : public QWidget {
 public:
  // Restores the window if it is minimised or maximised and brings it to the front.
  void bringToFront();

  // While a dialog is open, the controls take no input and the window cannot be closed.
  void block(QDialog* dialog);

 protected:
  SecondaryWindow(const wchar_t* title, const Size& clientSize, QWidget* mainWindow);

  // The parent of all controls; as large as the window.
  [[nodiscard]] QWidget* content() const { return content_; }

  void closeEvent(QCloseEvent* event) override;
  void resizeEvent(QResizeEvent* event) override;
  void changeEvent(QEvent* event) override;

  // Places the controls in a client area of this size.
  virtual void layOut(Size) {}

 private:
  void belongToMainWindow();

  QWidget* content_;
  QDialog* dialog_ = nullptr;  // the one that blocks this window
};

}  // namespace quillgate
