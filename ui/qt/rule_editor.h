// The rule editor: a grid of ten rows, one for each rule, and the buttons that apply, export and
// import them. The grid is the only copy of what is being edited. UI thread.
#pragma once

#include <QCheckBox>
#include <QLineEdit>
#include <array>
#include <memory>

#include "engine/shared_state.h"
#include "ui/qt/accessible.h"
#include "ui/qt/main_window.h"
#include "ui/qt/secondary_window.h"
#include "ui/rule_actions.h"
#include "ui/rule_grid.h"

namespace quillgate {

class RuleEditor final : public SecondaryWindow, private RuleViews {
 public:
  RuleEditor(SharedState& state, MainWindow& mainWindow);

 private:
  // The controls of one row; the window owns them.
  struct Row {
    QCheckBox* enabled;
    ChoiceList* protocol;
    QLineEdit* localPort;
    QLineEdit* targetIp;
    QLineEdit* targetPort;
  };

  [[nodiscard]] Row createRow(std::size_t rule);
  void createButtons();
  void save();
  void exportXml();
  void importXml();

  [[nodiscard]] RuleSet readRuleGrid() const;

  void fillRuleGrid() override;
  void refreshStatusPanel() override;
  [[nodiscard]] MonitorControls* monitorControls() override;

  SharedState& state_;
  MainWindow& mainWindow_;
  QStyle* checkBoxStyle_;  // owned by the window
  std::array<Row, kRuleCount> rows_;
};

}  // namespace quillgate
