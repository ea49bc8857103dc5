// What the controls of the monitor window do, without a toolkit. UI thread. An action returns the
// whole text that the view is to show. The reference is valid until the next action or refresh.
#pragma once

#include <cstdint>
#include <string>

#include "engine/shared_state.h"
#include "monitor/monitor_view.h"

namespace quillgate {

// What the format list offers, in the order of DumpFormat.
inline constexpr const wchar_t* kFormatNames[] = {L"ASCII", L"HEX"};

// The format at this index of the list; ASCII when none is selected.
[[nodiscard]] constexpr DumpFormat formatAt(int index) {
  return index == static_cast<int>(DumpFormat::hex) ? DumpFormat::hex : DumpFormat::ascii;
}

// A window has opened: switches capturing off, even when the last window left it on, and forgets a
// notice that was posted to that one.
[[nodiscard]] const std::wstring& openMonitor(SharedState& state, MonitorView& view);

// The filter list's selection has changed to the entry with this value; kFilterOff when none is
// selected.
[[nodiscard]] const std::wstring& chooseFilter(SharedState& state, MonitorView& view,
                                               std::int32_t value);

// The format list's selection has changed. The choice survives the window.
[[nodiscard]] const std::wstring& chooseFormat(SharedState& state, MonitorView& view,
                                               DumpFormat format);

// "Clear": forgets all records. Capturing stays as it was.
[[nodiscard]] const std::wstring& clearMonitor(SharedState& state, MonitorView& view);

// "Save TXT", after the dialog: writes the records that `filterValue` chooses, the filter list's
// selection before the dialog, to a new file at `path`. False when that fails; the file stays as
// far as it got then, and nothing is logged.
[[nodiscard]] bool saveMonitor(SharedState& state, std::int32_t filterValue,
                               const std::wstring& path);

}  // namespace quillgate
