// What screen readers are told where Qt does not say what people need. UI thread.
#pragma once

#include <QComboBox>

namespace quillgate {

// A list to choose from. Screen readers are told its accessible name and, as its text, the chosen
// entry. Qt's own interface gives the entry as the name.
class ChoiceList final : public QComboBox {
 public:
  ChoiceList(const QString& accessibleName, QWidget* parent);
};

// Makes Qt use the interfaces of this program: those of its lists, and of its windows, which are
// frames. Called once, before any window is created.
void installAccessibleInterfaces();

}  // namespace quillgate
