// A second process that runs the current test again, for tests that end a process by force.
//
//   TEST(Something, SurvivesAKill) {
//     if (const auto task = childTask()) workForEver(*task);
//     ChildProcess child(L"what the child needs to know");
//     ...
//     child.kill();
#pragma once

#include <cstdint>
#include <optional>
#include <string>

namespace quillgate::test {

// What this process is to do as the child of a test; nothing in the process of the tests.
[[nodiscard]] std::optional<std::wstring> childTask();

// Owns the child and ends it at the latest when it is destroyed.
class ChildProcess {
 public:
  explicit ChildProcess(const std::wstring& task);
  ChildProcess(const ChildProcess&) = delete;
  ChildProcess& operator=(const ChildProcess&) = delete;
  ~ChildProcess() { kill(); }

  // Ends the child wherever it is, without a chance to tidy up, and waits until it has ended.
  void kill();

 private:
  std::uintptr_t native_ = 0;
};

}  // namespace quillgate::test
