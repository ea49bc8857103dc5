// What must hold for the bytes of a rule file before an XML library may see them. Pure; any thread.
//
// It makes hostile files cheap, and makes both systems accept the same files. libxml2 is the
// library on Linux and inside wine's MSXML; MSXML 6 is that of Windows.
//  - Encoding, for all libraries, since the other rules build on it: markup shows without decoding.
//    So it is UTF-16 with a byte-order mark, or an encoding in which a byte that is markup in ASCII
//    is always that markup. Whether it can read the encoding is for the library to say.
//  - No NUL, and no half UTF-16 unit at the end, for libxml2: it accepts what comes before.
//  - No DTD, for libxml2: it would take default attributes and entities from it. MSXML 6 prohibits
//    DTDs unless it is told otherwise.
//  - Few attributes and prefixes, for libxml2: it takes time quadratic in their number. Nothing is
//    documented about MSXML 6 here.
//
// The libraries check everything else that makes a document well-formed, undeclared prefixes
// (except wine's MSXML, which drops them), and that elements nest at most 256 deep.
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
