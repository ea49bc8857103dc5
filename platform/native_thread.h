// Threads as the systems make them. Only for platform/thread.cpp and each system's thread.cpp.
#pragma once

#include <cstddef>

namespace quillgate::platform {

// Starts a thread that runs runNativeThread(argument), and that nobody waits for. Its stack has at
// least `stackBytes` bytes. False when the system has no thread left.
[[nodiscard]] bool startNativeThread(std::size_t stackBytes, void* argument) noexcept;

// What threads do; for the systems to call.
void runNativeThread(void* argument) noexcept;

}  // namespace quillgate::platform
