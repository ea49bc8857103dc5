// The front end of a program without windows: nobody watches, no news is delivered. Any thread.
#pragma once

#include "core/ui_notifier.h"

namespace quillgate::bench {

class NoUi final : public UiNotifier {
 public:
  void notifyNewLines() noexcept override {}
  bool isMonitorOpen() const noexcept override { return false; }
  bool notifyNewRecords() noexcept override { return false; }
};

}  // namespace quillgate::bench
