// What must hold for the bytes of a rule file before an XML library may see them. Pure; any thread.
//
// It makes hostile files cheap, and a file that one system accepts a file that the other accepts.
// Below, libxml2 is the library on Linux; wine's MSXML is made of it. MSXML 6 is that of Windows.
//  - The encoding shows markup without decoding: for all of them, since the rest builds on it.
//    It is UTF-16 with a byte-order mark, or one in which a byte that is markup in ASCII is the
//    same markup wherever it stands. Which of those it can read is the library's business.
//  - No NUL, and no half unit of UTF-16 at the end: for libxml2, which stops there and accepts what
//    came before.
//  - No DTD: for libxml2, which would take default attributes and entities from it. MSXML 6
//    prohibits DTDs unless it is told otherwise.
//  - Limits of attributes and prefixes: for libxml2, which takes time quadratic in them. How MSXML
//  6
//    takes them is not documented.
//
// The libraries themselves see to everything else that makes a document well-formed, to undeclared
// prefixes (but wine's MSXML, which drops them), and to elements nested more than 256 deep.
#pragma once

#include <cstddef>
#include <span>

namespace quillgate {

// For one tag.
inline constexpr std::size_t kMaxXmlAttributes = 128;
// For all tags of a file together.
inline constexpr std::size_t kMaxXmlPrefixes = 128;

[[nodiscard]] bool isAcceptableXml(std::span<const std::byte> bytes);

}  // namespace quillgate
