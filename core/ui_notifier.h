// How the stores tell a front end that there is something new to show. The stores call it on
// whatever thread brought the news, without holding a lock; an implementation wakes the UI thread
// and returns at once. It must outlive every thread of the process.
#pragma once

namespace quillgate {

class UiNotifier {
 public:
  virtual ~UiNotifier() = default;

  // New lines wait in the event log.
  virtual void linesWait() noexcept = 0;

  // Whether anybody watches records now: a monitor window is open.
  [[nodiscard]] virtual bool recordsWatched() const noexcept = 0;

  // New records wait in the capture store. False when the news could not be delivered.
  [[nodiscard]] virtual bool recordsWait() noexcept = 0;
};

}  // namespace quillgate
