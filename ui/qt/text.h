// The one place where the program's text becomes Qt's and comes back. Pure; any thread.
//
// A byte of a path that is no UTF-8 is one of U+DC80..U+DCFF in our text (platform/posix/text.h), a
// surrogate without its partner: it survives both ways.
#pragma once

#include <QString>
#include <string>
#include <string_view>

namespace quillgate {

[[nodiscard]] QString toQt(std::wstring_view text);
[[nodiscard]] std::wstring fromQt(const QString& text);

}  // namespace quillgate
