// What controls, windows and the program are on Linux: an object on the accessibility bus and the
// window that it stands in; a process.
#pragma once

#include <sys/types.h>

#include <functional>
#include <mutex>
#include <vector>

#include "tests/ui/atspi/accessible.h"
#include "tests/ui/atspi/x11.h"
#include "tests/ui/driver.h"
#include "tests/ui/program.h"

namespace quillgate::test {

struct NativeControl {
  Accessible object;
  x11::WindowId window;
};

struct NativeProcess {
  pid_t id = 0;
  // Protects the rest, and the process from being waited for while it is killed.
  std::mutex mutex{};
  int status = 0;  // what waitpid() gave
  bool hasEnded = false;
};

[[nodiscard]] const Accessible& accessibleOf(const Control& control);
[[nodiscard]] x11::WindowId idOf(const Control& window);

// The windows of a process, dialogs among them, that are shown or minimised, and like this.
[[nodiscard]] std::vector<Window> windowsOf(pid_t process,
                                            const std::function<bool(x11::WindowId)>& isIt);

}  // namespace quillgate::test
