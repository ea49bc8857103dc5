// The status panel: the part of the main window below the buttons that shows the status report when
// it is folded out. UI thread only.
#pragma once

namespace quillgate {

// Folds the panel out, or in again, by making the main window taller or lower.
void toggleStatusPanel();

// Rewrites the report if the panel is folded out.
void refreshStatusPanel();

// Fits the panel into the main window if it is folded out.
void layoutStatusPanel();

}  // namespace quillgate
