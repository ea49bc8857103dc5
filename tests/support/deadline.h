// Waiting in tests: never for a time, always for something that must happen before a deadline.
#pragma once

#include <chrono>
#include <functional>

namespace quillgate::test {

// How long a test waits for something that must happen, before it fails.
inline constexpr std::chrono::seconds kDeadline{20};

// Calls `condition` again and again until it holds; false when the deadline has passed.
[[nodiscard]] bool eventually(const std::function<bool()>& condition,
                              std::chrono::milliseconds deadline = kDeadline);

// Runs `work` on a thread of its own. Where it has not returned by the deadline, the current test
// fails; `end` is called then, which must make it return.
void expectReturns(const std::function<void()>& work, const std::function<void()>& end);

}  // namespace quillgate::test
