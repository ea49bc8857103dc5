// What a file has besides its content: who may use it, how it is marked, what else is kept with it.
#pragma once

#include <string>

namespace quillgate::test {

// Gives the file at `path` as much as the system can keep that no new file in its folder has. On
// POSIX, a mode; on Windows, an access list, attributes, an alternate stream and an early time of
// creation.
void makeUnusual(const std::wstring& path);

// All of that as text.
[[nodiscard]] std::string rightsOf(const std::wstring& path);

}  // namespace quillgate::test
