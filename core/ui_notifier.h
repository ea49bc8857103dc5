// How the stores notify a front end of something new to show. They call it on any thread, without
// holding a lock. An implementation wakes the UI thread and returns at once. It must outlive every
// thread of the process.
#pragma once

namespace quillgate {

class UiNotifier {
 public:
  virtual ~UiNotifier() = default;

  // New lines wait in the event log.
  virtual void notifyNewLines() noexcept = 0;

  // Whether a monitor window is open; without one, nobody wants to know of new records.
  [[nodiscard]] virtual bool isMonitorOpen() const noexcept = 0;

  // New records wait in the capture store. False when the news could not be delivered.
  [[nodiscard]] virtual bool notifyNewRecords() noexcept = 0;
};

}  // namespace quillgate
