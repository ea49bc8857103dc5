#include "ui/status_report.h"

#include <sstream>

namespace quillgate {

std::wstring buildStatusReport(const SharedState& state) {
  std::wostringstream report;
  report << L"Server:                       "
         << (state.server.isRunning() ? L"RUNNING" : L"STOPPED") << L"\r\n\r\n";

  const RuleSet rules = state.rules.snapshot();
  report << L"Rules:\r\n";
  for (std::size_t i = 0; i < rules.size(); ++i) {
    const ForwardRule& rule = rules[i];
    report << L"  " << i + 1 << L")   " << (rule.enabled ? L"ON " : L"OFF") << L"  "
           << nameOf(rule.proto) << L"  local " << rule.localPort << L"  ->  " << targetText(rule)
           << L"  [thread:" << (state.server.isWorkerActive(i) ? L"yes" : L"no") << L"]\r\n";
  }

  report << L"\r\nBase directory:            " << state.paths.baseDir << L"\r\n"
         << L"Config file:                  " << state.paths.configPath << L"\r\n"
         << L"Log file:                      " << state.paths.logPath;
  return std::move(report).str();
}

}  // namespace quillgate
