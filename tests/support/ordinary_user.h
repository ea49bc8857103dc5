// Rights in tests: an administrator's do not show what a file's own rights refuse.
#pragma once

#include <functional>

namespace quillgate::test {

// Whether `check` holds for a user whom the rights of files bind. On POSIX, root runs it as nobody
// in a process of its own: it may not change what the test sees except on the disk.
[[nodiscard]] bool holdsForOrdinaryUser(const std::function<bool()>& check);

}  // namespace quillgate::test
