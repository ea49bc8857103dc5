// The numbers by which controls and private messages are known, in this program and to whoever
// drives its windows from outside.
#pragma once

#include <windows.h>

namespace quillgate {

// Main window.
inline constexpr int IDC_START_STOP = 1001;
inline constexpr int IDC_OPEN_CONFIG = 1002;
inline constexpr int IDC_OPEN_LOG = 1003;
inline constexpr int IDC_STATUS = 1004;
inline constexpr int IDC_OPEN_MONITOR = 1005;
inline constexpr int IDC_STATUS_TEXT = 1101;

// Log window.
inline constexpr int IDC_LOG_LIST = 2001;
inline constexpr int IDC_LOG_CLEAR = 2002;

// Monitor window.
inline constexpr int IDC_MON_FILTER = 6001;
inline constexpr int IDC_MON_VIEW = 6002;
inline constexpr int IDC_MON_CLEAR = 6003;
inline constexpr int IDC_MON_FORMAT = 6004;
inline constexpr int IDC_MON_SAVE = 6005;

// Rule editor. The controls of the first rule; each further row is kRuleRowStep higher.
inline constexpr int IDC_RULE_ENABLED = 4000;
inline constexpr int IDC_RULE_PROTO = 4001;
inline constexpr int IDC_RULE_LOCAL_PORT = 4002;
inline constexpr int IDC_RULE_TARGET_IP = 4003;
inline constexpr int IDC_RULE_TARGET_PORT = 4004;
inline constexpr int kRuleRowStep = 10;
inline constexpr int IDC_CFG_SAVE = 3001;
inline constexpr int IDC_CFG_CANCEL = 3002;
inline constexpr int IDC_CFG_EXPORT = 3003;
inline constexpr int IDC_CFG_IMPORT = 3004;

// Posted to the log window: new lines wait in the event log.
inline constexpr UINT WM_LOG_NEW_LINE = WM_APP + 10;
// Posted to the monitor window: new records wait in the capture store.
inline constexpr UINT WM_MONITOR_REFRESH = WM_APP + 11;

}  // namespace quillgate
