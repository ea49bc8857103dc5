// Text rules that more than one part of the program needs. Pure; any thread.
#pragma once

#include <cstddef>
#include <cstdint>
#include <initializer_list>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace quillgate {

// `text` without the spaces, tabs, line feeds and carriage returns at its ends. Nothing else counts
// as blank: a no-break space stays.
[[nodiscard]] std::wstring_view trimmed(std::wstring_view text);

// The integer that `text` begins with: blanks (of any kind), an optional sign, decimal digits up to
// the first other character. 0 without digits; values outside the 32-bit range become its nearest
// end.
[[nodiscard]] std::int32_t integerFrom(std::wstring_view text);

// The port that `text` names: trimmed, read by integerFrom, then moved into 0..65535.
[[nodiscard]] std::uint16_t portFrom(std::wstring_view text);

// The decimal digits of `value`. std::to_wstring gives the same, but goes through formatted output,
// which takes ten times as long and a page more of a session's stack.
[[nodiscard]] std::wstring decimalText(std::uint32_t value);

// The parts one after the other, in memory taken once: what sums of texts take for each plus sign.
[[nodiscard]] std::wstring joined(std::initializer_list<std::wstring_view> parts);

// Whether two texts are equal when the letters A to Z equal a to z.
[[nodiscard]] bool equalsIgnoringCase(std::wstring_view a, std::wstring_view b);

// Appends `text` as UTF-16LE: the only way from text to the bytes of a text file. Units of 16 bits
// go out as they are, characters beyond them as surrogate pairs, what is no character as U+FFFD.
void appendUtf16le(std::wstring_view text, std::vector<std::byte>& bytes);

}  // namespace quillgate
