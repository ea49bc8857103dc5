// Wide text to and from the bytes that POSIX calls take. Pure; any thread.
//
// Bytes are UTF-8. A byte of the system's own (a folder in the environment) that is no UTF-8
// becomes one of U+DC80..U+DCFF, which no proper text holds, and turns back into that byte.
#pragma once

#include <string>
#include <string_view>

namespace quillgate::platform {

[[nodiscard]] std::string toBytes(std::wstring_view text);
[[nodiscard]] std::wstring toWide(std::string_view bytes);

}  // namespace quillgate::platform
