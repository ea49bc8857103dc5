// What must hold for the bytes of a rule file before an XML library may see them. Pure; any thread.
//
// The libraries differ in what they let pass and in what they do not limit. These rules make a file
// that one system accepts a file that the other accepts, and keep hostile files cheap:
//  - the encoding is UTF-16 with a byte-order mark, or one whose bytes below 128 are ASCII (UTF-8,
//    US-ASCII, ISO 8859, Windows 125x), so that markup can be seen without decoding;
//  - no NUL anywhere: a library may take it for the end;
//  - no DTD: without one there are no entities to expand and nothing outside to open;
//  - every namespace prefix is declared;
//  - elements nest at most kMaxXmlDepth deep, one tag has at most kMaxXmlAttributes attributes, and
//  at most
//    that many prefixes are declared at once, since libraries take time quadratic in those.
// Everything else that makes a document well-formed is left to the library.
#pragma once

#include <cstddef>
#include <span>

namespace quillgate {

inline constexpr std::size_t kMaxXmlDepth = 256;
inline constexpr std::size_t kMaxXmlAttributes = 128;

[[nodiscard]] bool isAcceptableXml(std::span<const std::byte> bytes);

}  // namespace quillgate
