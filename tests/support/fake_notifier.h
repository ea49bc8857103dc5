// The user interface as the stores see it: it counts their notices, and a test can look around when
// one comes.
#pragma once

#include <atomic>
#include <functional>

#include "core/ui_notifier.h"

namespace quillgate::test {

class FakeNotifier final : public UiNotifier {
 public:
  std::atomic<int> lineNotices{0};
  std::atomic<int> recordNotices{0};
  mutable std::atomic<int> monitorQuestions{0};  // whether one is open
  std::atomic<bool> monitorOpen{false};
  std::atomic<bool> delivers{true};  // whether a record notice reaches it

  // Called for each line and each record notice, on the thread that brings it. Set before that
  // thread starts.
  std::function<void()> onLine = [] {};
  std::function<void()> onRecords = [] {};

  void notifyNewLines() noexcept override {
    ++lineNotices;
    onLine();
  }
  [[nodiscard]] bool isMonitorOpen() const noexcept override {
    ++monitorQuestions;
    return monitorOpen;
  }
  [[nodiscard]] bool notifyNewRecords() noexcept override {
    ++recordNotices;
    onRecords();
    return delivers;
  }
};

}  // namespace quillgate::test
