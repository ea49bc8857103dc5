#include "ui/qt/dialogs_qt.h"

#include <QFileDialog>
#include <QFileInfo>
#include <QMessageBox>
#include <QPointer>
#include <utility>

#include "ui/qt/text.h"

namespace quillgate {
namespace {

// Shows a box that blocks its parent as the dialogs do; `action` is called with the pressed button.
void showBox(QMessageBox* box, std::function<void(QMessageBox::StandardButton)> action) {
  box->setAttribute(Qt::WA_DeleteOnClose);
  box->setWindowModality(Qt::NonModal);
  QObject::connect(box, &QMessageBox::finished, box, [action = std::move(action)](int result) {
    action(static_cast<QMessageBox::StandardButton>(result));
  });
  box->show();
}

// Qt's dialog asks its questions in boxes that stop the whole program. This one asks them itself.
class PathDialog final : public QFileDialog {
 public:
  PathDialog(QWidget* owner, AcceptMode mode, const FileDialog& dialog) : QFileDialog(owner) {
    setAttribute(Qt::WA_DeleteOnClose);
    setWindowModality(Qt::NonModal);
    setWindowTitle(mode == AcceptSave ? tr("Save As") : tr("Open"));  // the desktop's has none
    setAcceptMode(mode);
    setFileMode(mode == AcceptSave ? AnyFile : ExistingFile);
    setOption(DontConfirmOverwrite);
    setOption(HideNameFilterDetails);
    QStringList filters;
    for (const FileFilter& filter : dialog.filters) {
      // "*.*" would leave out names without a dot here.
      const QString pattern = toQt(filter.pattern);
      filters.append(toQt(filter.name) + " (" + (pattern == "*.*" ? "*" : pattern) + ")");
    }
    setNameFilters(filters);
    if (dialog.extension != nullptr) setDefaultSuffix(toQt(dialog.extension));
    selectFile(toQt(dialog.fileName));
  }

 protected:
  void accept() override {
    const QFileInfo file(selectedFiles().value(0));
    if (const QObject* dialog = sender()) isGone_ = dialog->inherits("QXdgDesktopPortalFileDialog");
    if (acceptMode() == AcceptOpen && !file.exists()) {
      sayThatItIsMissing(file.fileName());
    } else if (acceptMode() == AcceptSave && file.exists() && !file.isDir()) {
      askBeforeOverwriting(file);
    } else {
      QFileDialog::accept();  // shows what is in it if it is a folder
    }
  }

 private:
  void sayThatItIsMissing(const QString& name) {
    showBox(new QMessageBox(QMessageBox::Warning, windowTitle(),
                            tr("%1\nFile not found.").arg(name), QMessageBox::Ok, this),
            [this](auto) { comeBack(); });
  }

  // The dialog takes input while the question is open: there may be another one about another file.
  void askBeforeOverwriting(const QFileInfo& file) {
    delete question_;
    question_ =
        new QMessageBox(QMessageBox::Warning, windowTitle(),
                        tr("%1 already exists.\nDo you want to replace it?").arg(file.fileName()),
                        QMessageBox::Yes | QMessageBox::No, this);
    showBox(question_, [this, path = file.filePath()](QMessageBox::StandardButton pressed) {
      if (pressed != QMessageBox::Yes) return comeBack();
      if (selectedFiles().value(0) == path) {
        QFileDialog::accept();
      } else {
        accept();
      }
    });
  }

  void comeBack() {
    if (!isGone_) return;
    hide();
    show();
  }

  QPointer<QMessageBox> question_;
  bool isGone_ = false;  // the portal's dialog closes before it tells which file was chosen
};

void ask(SecondaryWindow& owner, QFileDialog::AcceptMode mode, const FileDialog& dialog,
         PathAction action) {
  auto* window = new PathDialog(&owner, mode, dialog);
  owner.block(window);
  QObject::connect(window, &QFileDialog::fileSelected, &owner,
                   [action = std::move(action)](const QString& path) { action(fromQt(path)); });
  window->show();
}

}  // namespace

void askForSavePath(SecondaryWindow& owner, const FileDialog& dialog, PathAction action) {
  ask(owner, QFileDialog::AcceptSave, dialog, std::move(action));
}

void askForOpenPath(SecondaryWindow& owner, const FileDialog& dialog, PathAction action) {
  ask(owner, QFileDialog::AcceptOpen, dialog, std::move(action));
}

void showError(SecondaryWindow& owner, const wchar_t* text) {
  auto* box = new QMessageBox(QMessageBox::Critical, toQt(kErrorTitle), toQt(text), QMessageBox::Ok,
                              &owner);
  owner.block(box);
  showBox(box, [](auto) {});
}

}  // namespace quillgate
