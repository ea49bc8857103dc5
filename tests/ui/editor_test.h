// The program with its rule editor open.
#pragma once

#include "tests/ui/dialogs.h"
#include "tests/ui/ui_test.h"
#include "ui/rule_grid.h"

namespace quillgate::test {

class EditorTest : public UiTest {
 protected:
  // The fields of a row, in the order of their names.
  enum class Field { enabled, proto, localPort, targetIp, targetPort };

  void openEditor() {
    editor = open(L"Config");
    ASSERT_TRUE(editor.isThere());
  }
  void startWith(const RuleSet& rules) {
    files.writeConfig(configBytes(rules));
    start();
    ASSERT_TRUE(files.waitForLog(L"Server started."));
    openEditor();
  }
  void startStopped() {
    start();
    startStop().press();
    openEditor();
  }
  void pressButton(const std::wstring& button) const { editor.control(button).press(); }

  [[nodiscard]] Control control(std::size_t rule, Field field) const {
    return editor.control(accessibleName(rule, static_cast<std::size_t>(field)));
  }
  void type(std::size_t rule, Field field, const std::wstring& text) const {
    control(rule, field).setText(text);
  }
  // Fills a row as a user would, its check box apart.
  void fillRow(std::size_t rule, const std::wstring& proto, const std::wstring& localPort,
               const std::wstring& targetIp, const std::wstring& targetPort) const {
    control(rule, Field::proto).choose(proto == L"UDP" ? 1 : 0);
    type(rule, Field::localPort, localPort);
    type(rule, Field::targetIp, targetIp);
    type(rule, Field::targetPort, targetPort);
  }
  // What a row shows: on or off, protocol, local port, target, target port.
  [[nodiscard]] std::vector<std::wstring> row(std::size_t rule) const {
    const bool on = control(rule, Field::enabled).isChecked();
    return {on ? L"on" : L"off", control(rule, Field::proto).text(),
            control(rule, Field::localPort).text(), control(rule, Field::targetIp).text(),
            control(rule, Field::targetPort).text()};
  }

  void exportTo(const std::wstring& path) const {
    confirmName(openDialog(editor, L"Export XML", L"Save As"), path);
    ASSERT_TRUE(isUsableAgain(editor));
  }
  void importFrom(const std::wstring& path) const {
    confirmName(openDialog(editor, L"Import XML", L"Open"), path);
    ASSERT_TRUE(isUsableAgain(editor));
  }

  [[nodiscard]] std::string config() const { return contentOf(files.configPath).value_or(""); }
  [[nodiscard]] bool editorIsOpen() const { return !program->windows(L"Config").empty(); }

  TempFolder exports;
  Window editor;
};

inline RuleSet someRules() {
  RuleSet rules;
  rules[0] = {false, Protocol::tcp, 8080, L"10.0.0.1", 80};
  rules[4] = {true, Protocol::udp, 0, L"10.0.0.2", 53};
  rules[9] = {false, Protocol::udp, 65535, L"server.example", 1};
  return rules;
}

}  // namespace quillgate::test
