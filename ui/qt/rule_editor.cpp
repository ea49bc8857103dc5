#include "ui/qt/rule_editor.h"

#include <QProxyStyle>
#include <QStyleOption>

#include "ui/editor_view.h"
#include "ui/qt/controls.h"
#include "ui/qt/dialogs_qt.h"
#include "ui/qt/text.h"

namespace quillgate {
namespace {

// Makes a check box react wherever it is clicked, and not only on its mark.
class ClickableEverywhere final : public QProxyStyle {
 public:
  QRect subElementRect(SubElement element, const QStyleOption* option,
                       const QWidget* widget) const override {
    return element == SE_CheckBoxClickRect ? option->rect
                                           : QProxyStyle::subElementRect(element, option, widget);
  }
};

// Black on white in any theme.
void paintWhite(QWidget& field) {
  QPalette palette = field.palette();
  palette.setColor(QPalette::Base, Qt::white);
  palette.setColor(QPalette::Text, Qt::black);
  field.setPalette(palette);
}

QLineEdit* createField(const Rectangle& place, const QString& name, QWidget* parent) {
  auto* field = new QLineEdit(parent);
  field->setGeometry(toQt(place));
  field->setAccessibleName(name);
  paintWhite(*field);
  return field;
}

}  // namespace

RuleEditor::RuleEditor(SharedState& state, MainWindow& mainWindow)
    : SecondaryWindow(kEditorTitle, kEditorSize, &mainWindow),
      state_(state),
      mainWindow_(mainWindow) {
  checkBoxStyle_ = new ClickableEverywhere;
  checkBoxStyle_->setParent(this);
  for (const TextControl& label : kEditorLabels) addLabel(label, content());
  for (std::size_t rule = 0; rule < rows_.size(); ++rule) rows_[rule] = createRow(rule);
  createButtons();
  RuleEditor::fillRuleGrid();
}

RuleEditor::Row RuleEditor::createRow(std::size_t rule) {
  const RowPlaces places = rowPlaces(rule);
  const auto name = [rule](std::size_t field) {
    return toQt(quillgate::accessibleName(rule, field));
  };
  Row row{};
  row.enabled = new QCheckBox(content());
  row.enabled->setGeometry(toQt(places.enabled));
  row.enabled->setStyle(checkBoxStyle_);
  row.enabled->setAccessibleName(name(0));
  paintWhite(*row.enabled);
  row.protocol = new ChoiceList(name(1), content());
  row.protocol->setGeometry(toQt(places.protocol));
  for (const wchar_t* protocol : kProtocolNames) row.protocol->addItem(toQt(protocol));
  row.localPort = createField(places.localPort, name(2), content());
  row.targetIp = createField(places.targetIp, name(3), content());
  row.targetPort = createField(places.targetPort, name(4), content());
  return row;
}

void RuleEditor::createButtons() {
  const EditorButtons buttons = editorButtons(kEditorSize.width);
  const auto add = [this](const TextControl& control, auto action) {
    connect(new Button(control, content()), &QPushButton::clicked, this, action);
  };
  add(buttons.importXml, [this] { importXml(); });
  add(buttons.exportXml, [this] { exportXml(); });
  add(buttons.save, [this] { save(); });
  add(buttons.cancel, [this] { close(); });
}

void RuleEditor::save() {
  saveRules(state_, readRuleGrid(), *this);
  close();
}

void RuleEditor::exportXml() {
  askForSavePath(*this, kExportRulesDialog,
                 [this, rules = readRuleGrid()](const std::wstring& path) {
                   if (!exportRules(state_, rules, path)) showError(*this, kExportRulesError);
                 });
}

void RuleEditor::importXml() {
  askForOpenPath(*this, kImportRulesDialog, [this](const std::wstring& path) {
    if (!importRules(state_, path, *this)) showError(*this, kImportRulesError);
  });
}

RuleSet RuleEditor::readRuleGrid() const {
  RuleSet rules;
  for (std::size_t i = 0; i < rules.size(); ++i) {
    const Row& row = rows_[i];
    rules[i] = ruleFrom({.enabled = row.enabled->isChecked(),
                         .proto = row.protocol->currentIndex() == static_cast<int>(Protocol::udp)
                                      ? Protocol::udp
                                      : Protocol::tcp,
                         .localPort = fromQt(row.localPort->text()),
                         .targetIp = fromQt(row.targetIp->text()),
                         .targetPort = fromQt(row.targetPort->text())});
  }
  return rules;
}

void RuleEditor::fillRuleGrid() {
  const RuleSet rules = state_.rules.snapshot();
  for (std::size_t i = 0; i < rules.size(); ++i) {
    const RuleRow shown = rowFrom(rules[i]);
    const Row& row = rows_[i];
    row.enabled->setChecked(shown.enabled);
    row.protocol->setCurrentIndex(static_cast<int>(shown.proto));
    row.localPort->setText(toQt(shown.localPort));
    row.targetIp->setText(toQt(shown.targetIp));
    row.targetPort->setText(toQt(shown.targetPort));
  }
}

void RuleEditor::refreshStatusPanel() { mainWindow_.refreshStatusPanel(); }

MonitorControls* RuleEditor::monitorControls() { return mainWindow_.monitorControls(); }

}  // namespace quillgate
