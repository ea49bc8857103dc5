// The program with its rule editor open.
#pragma once

#include "tests/ui/dialogs.h"
#include "tests/ui/ui_test.h"

namespace quillgate::test {

class EditorTest : public UiTest {
 protected:
  void openEditor() {
    sendCommand(mainWindow, IDC_OPEN_CONFIG);
    editor = program->waitForWindow(L"QuillgateCfgWnd");
    ASSERT_NE(editor, nullptr);
  }
  void startWith(const RuleSet& rules) {
    files.writeConfig(configBytes(rules));
    start();
    ASSERT_TRUE(files.waitForLog(L"Server started."));
    openEditor();
  }
  void startStopped() {
    start();
    sendCommand(mainWindow, IDC_START_STOP);
    openEditor();
  }

  [[nodiscard]] HWND control(int rule, int firstRowId) const {
    return GetDlgItem(editor, firstRowId + 10 * rule);
  }
  void type(int rule, int firstRowId, const std::wstring& text) const {
    send(control(rule, firstRowId), WM_SETTEXT, 0, reinterpret_cast<LPARAM>(text.c_str()));
  }
  // Fills a row as a user would, its check box apart.
  void fillRow(int rule, const std::wstring& proto, const std::wstring& localPort,
               const std::wstring& targetIp, const std::wstring& targetPort) const {
    send(control(rule, IDC_RULE_PROTO), CB_SETCURSEL, proto == L"UDP");
    type(rule, IDC_RULE_LOCAL_PORT, localPort);
    type(rule, IDC_RULE_TARGET_IP, targetIp);
    type(rule, IDC_RULE_TARGET_PORT, targetPort);
  }
  // What a row shows: on or off, protocol, local port, target, target port.
  [[nodiscard]] std::vector<std::wstring> row(int rule) const {
    const bool on = send(control(rule, IDC_RULE_ENABLED), BM_GETCHECK) == BST_CHECKED;
    return {on ? L"on" : L"off", textOf(control(rule, IDC_RULE_PROTO)),
            textOf(control(rule, IDC_RULE_LOCAL_PORT)), textOf(control(rule, IDC_RULE_TARGET_IP)),
            textOf(control(rule, IDC_RULE_TARGET_PORT))};
  }

  [[nodiscard]] HWND dialogBehind(int button, const std::wstring& title) const {
    return openDialog(*program, editor, button, title);
  }
  void exportTo(const std::wstring& path) const {
    confirmName(dialogBehind(IDC_CFG_EXPORT, L"Save As"), path);
    ASSERT_TRUE(isEnabledAgain(editor));
  }
  void importFrom(const std::wstring& path) const {
    confirmName(dialogBehind(IDC_CFG_IMPORT, L"Open"), path);
    ASSERT_TRUE(isEnabledAgain(editor));
  }

  [[nodiscard]] std::string config() const { return contentOf(files.configPath).value_or(""); }
  [[nodiscard]] bool editorIsOpen() const { return !program->windows(L"QuillgateCfgWnd").empty(); }

  TempFolder exports;
  HWND editor = nullptr;
};

inline RuleSet someRules() {
  RuleSet rules;
  rules[0] = {false, Protocol::tcp, 8080, L"10.0.0.1", 80};
  rules[4] = {true, Protocol::udp, 0, L"10.0.0.2", 53};
  rules[9] = {false, Protocol::udp, 65535, L"server.example", 1};
  return rules;
}

}  // namespace quillgate::test
