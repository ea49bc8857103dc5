// The numbers by which controls and private messages are known, in this program and to whoever
// drives its windows from outside.
#pragma once

#include <windows.h>

namespace quillgate {

// Main window.
inline constexpr int kIdStartStop = 1001;
inline constexpr int kIdOpenConfig = 1002;
inline constexpr int kIdOpenLog = 1003;
inline constexpr int kIdStatus = 1004;
inline constexpr int kIdOpenMonitor = 1005;
inline constexpr int kIdStatusText = 1101;

// Log window.
inline constexpr int kIdLogList = 2001;
inline constexpr int kIdLogClear = 2002;

// Monitor window.
inline constexpr int kIdMonitorFilter = 6001;
inline constexpr int kIdMonitorView = 6002;
inline constexpr int kIdMonitorClear = 6003;
inline constexpr int kIdMonitorFormat = 6004;
inline constexpr int kIdMonitorSave = 6005;

// Rule editor. The controls of the first rule; each further row is kIdRuleRowStep higher.
inline constexpr int kIdRuleEnabled = 4000;
inline constexpr int kIdRuleProto = 4001;
inline constexpr int kIdRuleLocalPort = 4002;
inline constexpr int kIdRuleTargetIp = 4003;
inline constexpr int kIdRuleTargetPort = 4004;
inline constexpr int kIdRuleRowStep = 10;
inline constexpr int kIdSaveRules = 3001;
inline constexpr int kIdCancelRules = 3002;
inline constexpr int kIdExportRules = 3003;
inline constexpr int kIdImportRules = 3004;

// Posted to the log window: new lines wait in the event log.
inline constexpr UINT kLogNewLineMessage = WM_APP + 10;
// Posted to the monitor window: new records wait in the capture store.
inline constexpr UINT kMonitorRefreshMessage = WM_APP + 11;

}  // namespace quillgate
