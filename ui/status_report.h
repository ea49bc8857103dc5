// The status report: a plain-text summary of the server, the rules with their workers, and the
// paths. UI thread; reads the state and changes nothing.
#pragma once

#include <string>

#include "engine/shared_state.h"

namespace quillgate {

// Lines end with CR LF; none follows the last one.
[[nodiscard]] std::wstring buildStatusReport(const SharedState& state);

}  // namespace quillgate
