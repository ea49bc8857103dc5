// The rule file: loading and saving a whole RuleSet as XML, for config.xml and for the rule
// editor's import and export. docs/design/config-file.md describes the format.
//
// UI thread only (on Windows the XML library lives there). Both operations block on the disk,
// report what happened with one line in the log, and take no lock: the caller passes rules that
// no other thread changes meanwhile.
#pragma once

#include <string>

#include "core/event_log.h"
#include "forwarding/forward_rule.h"

namespace quillgate {

// Largest file that is read, in bytes; a file of ten rules has about 1,500. A larger one counts as
// one that cannot be parsed.
inline constexpr std::size_t kMaxConfigFileBytes = 4 * 1024 * 1024;

// Fills all ten rules from the file at `path`, with defaults for whatever the file does not say.
// True when the file is well-formed XML with the document element "config"; otherwise all ten are
// defaults.
[[nodiscard]] bool loadConfig(EventLog& log, RuleSet& rules, const std::wstring& path);

// Writes the ten rules to `path`. True when they are on disk; otherwise the file is as it was.
// Characters that XML cannot hold are left out of a target.
bool saveConfig(EventLog& log, const RuleSet& rules, const std::wstring& path);

}  // namespace quillgate
