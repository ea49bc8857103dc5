// Carries news from any thread to the UI thread.
//
// A writer sets a flag and, if it was not set yet, writes to an event descriptor that the UI thread
// watches: it never blocks and touches no object of Qt. The object is never destroyed and the
// descriptor never closed, so a thread that outlives the windows does no harm.
#pragma once

#include <atomic>

#include "core/ui_notifier.h"

namespace quillgate {

class News final : public UiNotifier {
 public:
  News();

  // Any thread.
  void notifyNewLines() noexcept override;
  [[nodiscard]] bool isMonitorOpen() const noexcept override { return monitorOpen_.load(); }
  [[nodiscard]] bool notifyNewRecords() noexcept override;

  // The rest is for the UI thread.

  // Readable while news wait. -1 when the system had no descriptor left.
  [[nodiscard]] int descriptor() const { return descriptor_; }

  // What waits; the next news make the descriptor readable again.
  struct Waiting {
    bool lines;
    bool records;
  };
  [[nodiscard]] Waiting take() noexcept;

  // News are carried only to windows that are open.
  void setLogOpen(bool open) { logOpen_.store(open); }
  void setMonitorOpen(bool open) { monitorOpen_.store(open); }

 private:
  void wake() const noexcept;

  const int descriptor_;
  std::atomic<bool> logOpen_{false};
  std::atomic<bool> monitorOpen_{false};
  std::atomic<bool> lines_{false};
  std::atomic<bool> records_{false};
};

}  // namespace quillgate
