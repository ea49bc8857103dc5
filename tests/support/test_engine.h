// The engine as a test drives it: a private SharedState with a notifier that counts, and the log's
// messages as they come. A session of one test can outlive it, so the state is never destroyed.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "engine/shared_state.h"
#include "tests/support/deadline.h"
#include "tests/support/fake_notifier.h"

namespace quillgate::test {

class TestEngine {
 public:
  TestEngine();
  // Stops the server as stop() does; sessions that are open go on.
  ~TestEngine();
  TestEngine(const TestEngine&) = delete;
  TestEngine& operator=(const TestEngine&) = delete;

  [[nodiscard]] SharedState& state() { return state_; }
  // Stops the server. When that takes longer than the deadline, the test fails and ends the
  // process: nothing else could end a worker that ignores the stop, and the next tests would wait
  // for it.
  void stop();
  [[nodiscard]] FakeNotifier& notifier() { return notifier_; }

  // All messages logged so far, in their order, without their time stamps. Takes the log's new
  // lines for itself.
  [[nodiscard]] const std::vector<std::wstring>& messages();
  [[nodiscard]] std::size_t countOf(const std::wstring& message);
  // Waits until `message` has been logged `times` times.
  [[nodiscard]] bool waitFor(const std::wstring& message, std::size_t times = 1);
  // Waits until a message begins with `prefix` and returns it; empty after the deadline.
  [[nodiscard]] std::wstring waitForPrefix(const std::wstring& prefix);

  // The texts of all captured records, oldest first.
  [[nodiscard]] std::vector<std::wstring> capturedTexts(std::int32_t filter = kFilterAll) const;

  // Makes `rule` the only enabled one, at `index`.
  void setRule(const ForwardRule& rule, std::size_t index = 0);

 private:
  FakeNotifier& notifier_;
  SharedState& state_;
  std::vector<std::wstring> messages_;
};

// An enabled rule.
[[nodiscard]] ForwardRule ruleFor(Protocol proto, std::uint16_t localPort, std::uint16_t targetPort,
                                  std::wstring targetIp = L"127.0.0.1");

}  // namespace quillgate::test
