#include "ui/qt/accessible.h"

#include <QAbstractItemView>
#include <QAccessibleWidget>

namespace quillgate {
namespace {

class ChoiceListInterface final : public QAccessibleWidget, public QAccessibleTextInterface {
 public:
  explicit ChoiceListInterface(ChoiceList* list) : QAccessibleWidget(list, QAccessible::ComboBox) {}

  void* interface_cast(QAccessible::InterfaceType type) override {
    if (type == QAccessible::TextInterface) return static_cast<QAccessibleTextInterface*>(this);
    return QAccessibleWidget::interface_cast(type);
  }

  QString text(QAccessible::Text what) const override {
    return what == QAccessible::Value ? chosen() : QAccessibleWidget::text(what);
  }

  QAccessible::State state() const override {
    QAccessible::State state = QAccessibleWidget::state();
    state.hasPopup = true;
    state.expandable = true;
    state.expanded = list().view()->isVisible();
    state.collapsed = !state.expanded;
    return state;
  }

  // The entries.
  int childCount() const override { return 1; }
  QAccessibleInterface* child(int index) const override {
    return index == 0 ? QAccessible::queryAccessibleInterface(list().view()) : nullptr;
  }
  int indexOfChild(const QAccessibleInterface* child) const override {
    return child->object() == list().view() ? 0 : -1;
  }

  QStringList actionNames() const override { return {showMenuAction(), pressAction()}; }
  void doAction(const QString& action) override {
    if (action != showMenuAction() && action != pressAction()) return;
    if (list().view()->isVisible()) {
      list().hidePopup();
    } else {
      list().showPopup();
    }
  }
  QStringList keyBindingsForAction(const QString&) const override { return {}; }

  // The chosen entry as a text that cannot be edited or selected.
  void selection(int, int* start, int* end) const override { *start = *end = 0; }
  int selectionCount() const override { return 0; }
  void addSelection(int, int) override {}
  void removeSelection(int) override {}
  void setSelection(int, int, int) override {}
  int cursorPosition() const override { return 0; }
  void setCursorPosition(int) override {}
  QString text(int start, int end) const override { return chosen().mid(start, end - start); }
  int characterCount() const override { return static_cast<int>(chosen().size()); }
  QRect characterRect(int) const override { return rect(); }
  int offsetAtPoint(const QPoint&) const override { return -1; }
  void scrollToSubstring(int, int) override {}
  QString attributes(int, int* start, int* end) const override {
    *start = 0;
    *end = characterCount();
    return {};
  }

 private:
  [[nodiscard]] QComboBox& list() const { return *static_cast<QComboBox*>(object()); }
  [[nodiscard]] QString chosen() const { return list().currentText(); }
};

// Asked with the name of the object's class and then of each class above it.
QAccessibleInterface* makeInterface(const QString& className, QObject* object) {
  if (auto* list = dynamic_cast<ChoiceList*>(object)) return new ChoiceListInterface(list);
  auto* widget = qobject_cast<QWidget*>(object);
  const bool isOurWindow = className == "QWidget" && widget != nullptr && widget->isWindow();
  return isOurWindow ? new QAccessibleWidget(widget, QAccessible::Window) : nullptr;
}

}  // namespace

ChoiceList::ChoiceList(const QString& accessibleName, QWidget* parent) : QComboBox(parent) {
  setAccessibleName(accessibleName);
}

void installAccessibleInterfaces() { QAccessible::installFactory(makeInterface); }

}  // namespace quillgate
