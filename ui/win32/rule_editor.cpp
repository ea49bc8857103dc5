#include "ui/win32/rule_editor.h"

#include <iterator>
#include <string>

#include "ui/dialogs.h"
#include "ui/editor_view.h"
#include "ui/rule_grid.h"
#include "ui/win32/control_ids.h"
#include "ui/win32/dialogs_win32.h"
#include "ui/win32/status_panel.h"
#include "ui/win32/ui_state.h"

namespace quillgate {

namespace {

// The height of a list with its items, which the system takes for the opened one.
constexpr int kProtocolListHeight = 400;

void createLabels(HWND editor) {
  for (const TextControl& label : kEditorLabels) {
    createControl(editor, {0, L"STATIC", label.text, 0, 0, label.place});
  }
}

// The id of a control in the row of the rule with this index.
int idIn(std::size_t rule, int firstRowId) {
  return firstRowId + kRuleRowStep * static_cast<int>(rule);
}

ControlRow field(int id, const Rectangle& place) {
  return {id, L"EDIT", L"", ES_AUTOHSCROLL, WS_EX_CLIENTEDGE, place};
}

void createRow(HWND editor, std::size_t rule) {
  RowPlaces places = rowPlaces(rule);
  places.protocol.height = kProtocolListHeight;
  const ControlRow controls[] = {
      {idIn(rule, IDC_RULE_ENABLED), L"BUTTON", L"", BS_AUTOCHECKBOX, 0, places.enabled},
      {idIn(rule, IDC_RULE_PROTO), L"COMBOBOX", L"", CBS_DROPDOWNLIST, 0, places.protocol},
      field(idIn(rule, IDC_RULE_LOCAL_PORT), places.localPort),
      field(idIn(rule, IDC_RULE_TARGET_IP), places.targetIp),
      field(idIn(rule, IDC_RULE_TARGET_PORT), places.targetPort),
  };
  createControls(editor, controls);
  for (const wchar_t* name : kProtocolNames) {
    SendDlgItemMessageW(editor, idIn(rule, IDC_RULE_PROTO), CB_ADDSTRING, 0,
                        reinterpret_cast<LPARAM>(name));
  }
}

// The ids of a row follow one another in the order of its fields.
void nameRow(HWND editor, std::size_t rule, AccessibleNames& names) {
  for (std::size_t field = 0; field < std::size(kFieldNames); ++field) {
    const int id = idIn(rule, IDC_RULE_ENABLED + static_cast<int>(field));
    names.set(GetDlgItem(editor, id), accessibleName(rule, field));
  }
}

void createButtons(HWND editor) {
  const EditorButtons buttons = editorButtons(clientSize(editor).width);
  const auto create = [editor](int id, const TextControl& button) {
    createControl(editor, {id, L"BUTTON", button.text, BS_PUSHBUTTON, 0, button.place});
  };
  create(IDC_CFG_IMPORT, buttons.importXml);
  create(IDC_CFG_EXPORT, buttons.exportXml);
  create(IDC_CFG_SAVE, buttons.save);
  create(IDC_CFG_CANCEL, buttons.cancel);
}

std::wstring textIn(HWND editor, int id) {
  const HWND control = GetDlgItem(editor, id);
  std::wstring text(static_cast<std::size_t>(GetWindowTextLengthW(control)) + 1, L'\0');
  const int length = GetWindowTextW(control, text.data(), static_cast<int>(text.size()));
  text.resize(static_cast<std::size_t>(length));
  return text;
}

void showRow(HWND editor, std::size_t rule, const RuleRow& row) {
  CheckDlgButton(editor, idIn(rule, IDC_RULE_ENABLED), row.enabled ? BST_CHECKED : BST_UNCHECKED);
  SendDlgItemMessageW(editor, idIn(rule, IDC_RULE_PROTO), CB_SETCURSEL,
                      static_cast<WPARAM>(row.proto), 0);
  SetDlgItemTextW(editor, idIn(rule, IDC_RULE_LOCAL_PORT), row.localPort.c_str());
  SetDlgItemTextW(editor, idIn(rule, IDC_RULE_TARGET_IP), row.targetIp.c_str());
  SetDlgItemTextW(editor, idIn(rule, IDC_RULE_TARGET_PORT), row.targetPort.c_str());
}

RuleRow readRow(HWND editor, std::size_t rule) {
  const bool udp = SendDlgItemMessageW(editor, idIn(rule, IDC_RULE_PROTO), CB_GETCURSEL, 0, 0) ==
                   static_cast<LRESULT>(Protocol::udp);
  return {IsDlgButtonChecked(editor, idIn(rule, IDC_RULE_ENABLED)) == BST_CHECKED,
          udp ? Protocol::udp : Protocol::tcp, textIn(editor, idIn(rule, IDC_RULE_LOCAL_PORT)),
          textIn(editor, idIn(rule, IDC_RULE_TARGET_IP)),
          textIn(editor, idIn(rule, IDC_RULE_TARGET_PORT))};
}

}  // namespace

LRESULT RuleEditor::onMessage(UINT message, WPARAM wParam, LPARAM lParam) {
  switch (message) {
    case WM_CREATE:
      onCreate();
      return 0;
    case WM_CTLCOLOREDIT:
    case WM_CTLCOLORLISTBOX:
    case WM_CTLCOLORSTATIC:
      return onColorRequest(reinterpret_cast<HDC>(wParam));
    case WM_COMMAND:
      onCommand(LOWORD(wParam));
      return 0;
    case WM_CLOSE:
      onClose();
      return 0;
    case WM_DESTROY:
      names_.clear();
      return 0;
    default:
      return defaultResult(message, wParam, lParam);
  }
}

void RuleEditor::onCreate() {
  createLabels(handle());
  for (std::size_t rule = 0; rule < kRuleCount; ++rule) {
    createRow(handle(), rule);
    nameRow(handle(), rule, names_);
  }
  createButtons(handle());
  fillRuleGrid();
}

LRESULT RuleEditor::onColorRequest(HDC context) {
  SetBkMode(context, OPAQUE);
  SetBkColor(context, RGB(255, 255, 255));
  SetTextColor(context, RGB(0, 0, 0));
  return reinterpret_cast<LRESULT>(uiState().whiteBrush);
}

void RuleEditor::onCommand(int id) {
  switch (id) {
    case IDC_CFG_SAVE:
      onSave();
      break;
    case IDC_CFG_CANCEL:
      onClose();
      break;
    case IDC_CFG_EXPORT:
      onExport();
      break;
    case IDC_CFG_IMPORT:
      onImport();
      break;
    default:
      break;
  }
}

void RuleEditor::onSave() {
  saveRules(sharedState(), readRuleGrid(), *this);
  onClose();
}

void RuleEditor::onExport() {
  const RuleSet rules = readRuleGrid();
  const auto path = askForSavePath(handle(), kExportRulesDialog);
  if (path && !exportRules(sharedState(), rules, *path)) showError(handle(), kExportRulesError);
}

void RuleEditor::onImport() {
  const auto path = askForOpenPath(handle(), kImportRulesDialog);
  if (path && !importRules(sharedState(), *path, *this)) showError(handle(), kImportRulesError);
}

void RuleEditor::onClose() {
  uiState().configWindow = nullptr;
  DestroyWindow(handle());
}

RuleSet RuleEditor::readRuleGrid() const {
  RuleSet rules;
  for (std::size_t i = 0; i < rules.size(); ++i) rules[i] = ruleFrom(readRow(handle(), i));
  return rules;
}

void RuleEditor::fillRuleGrid() {
  const RuleSet rules = sharedState().rules.snapshot();
  for (std::size_t i = 0; i < rules.size(); ++i) showRow(handle(), i, rowFrom(rules[i]));
}

void RuleEditor::refreshStatusPanel() {
  if (uiState().mainWindow != nullptr) quillgate::refreshStatusPanel();
}

MonitorControls* RuleEditor::monitorControls() {
  const UiState& ui = uiState();
  return IsWindow(ui.monitorWindow) && IsWindow(ui.monitorFilterList) ? ui.monitorControls
                                                                      : nullptr;
}

}  // namespace quillgate
