// The rule editor: a grid of ten rows, one for each rule, and the buttons that apply, export and
// import them. The grid is the only copy of what is being edited. UI thread only.
#pragma once

#include "forwarding/forward_rule.h"
#include "ui/rule_actions.h"
#include "ui/win32/accessible_names.h"
#include "ui/win32/window.h"

namespace quillgate {

class RuleEditor final : public Window, private RuleViews {
 public:
  static constexpr const wchar_t* kClassName = L"QuillgateCfgWnd";

 protected:
  LRESULT onMessage(UINT message, WPARAM wParam, LPARAM lParam) override;

 private:
  void onCreate();
  LRESULT onColorRequest(HDC context);
  void onCommand(int id);
  void onSave();
  void onExport();
  void onImport();
  void onClose();

  [[nodiscard]] RuleSet readRuleGrid() const;

  void fillRuleGrid() override;
  void refreshStatusPanel() override;
  [[nodiscard]] MonitorControls* monitorControls() override;

  AccessibleNames names_;
};

}  // namespace quillgate
