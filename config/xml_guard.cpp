#include "config/xml_guard.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace quillgate {
namespace {

// The document as units that show markup as ASCII: the bytes of an 8-bit encoding, or UTF-16.
using Units = std::u16string_view;

bool startsWith(std::span<const std::byte> bytes, std::initializer_list<int> mark) {
  return bytes.size() >= mark.size() &&
         std::equal(mark.begin(), mark.end(), bytes.begin(),
                    [](int a, std::byte b) { return static_cast<std::byte>(a) == b; });
}

std::u16string widen(std::span<const std::byte> bytes) {
  std::u16string units(bytes.size(), u'\0');
  std::ranges::transform(bytes, units.begin(),
                         [](std::byte b) { return static_cast<char16_t>(b); });
  return units;
}

std::u16string joinPairs(std::span<const std::byte> bytes, std::size_t low) {
  std::u16string units(bytes.size() / 2, u'\0');
  for (std::size_t i = 0; i < units.size(); ++i) {
    units[i] = static_cast<char16_t>(std::to_integer<unsigned>(bytes[2 * i + low]) |
                                     std::to_integer<unsigned>(bytes[2 * i + 1 - low]) << 8);
  }
  return units;
}

bool hasUtf16Mark(std::span<const std::byte> bytes) {
  return startsWith(bytes, {0xFF, 0xFE}) || startsWith(bytes, {0xFE, 0xFF});
}

// Nothing for UTF-16 that ends in the middle of a unit.
std::optional<std::u16string> unitsOf(std::span<const std::byte> bytes) {
  if (startsWith(bytes, {0xEF, 0xBB, 0xBF})) return widen(bytes.subspan(3));
  if (!hasUtf16Mark(bytes)) return widen(bytes);
  if (bytes.size() % 2 != 0) return std::nullopt;
  return joinPairs(bytes.subspan(2), startsWith(bytes, {0xFF, 0xFE}) ? 0 : 1);
}

// The part of `text` after the next `end`; empty when there is none.
Units behind(Units text, Units end) {
  const std::size_t at = text.find(end);
  return at == Units::npos ? Units() : text.substr(at + end.size());
}

// Whether "<" comes first, or after blanks. libxml2 finds out by itself that a document is EBCDIC,
// where "<" is another byte.
bool startsWithMarkup(Units document) {
  const std::size_t first = document.find_first_not_of(u" \t\r\n");
  return first != Units::npos && document[first] == u'<';
}

// Prefixes of the names of encodings in which every byte that is markup in ASCII is always that
// markup. In some of them, such as Shift_JIS, such a byte may be the second half of a
// character if it is a letter or one of @[\]^_`{|}~; the scan below looks at none of these alone.
// Not among them: UTF-7, EBCDIC, ISO 2022 and others that shift, Johab.
constexpr auto kAsciiBased = std::to_array<std::string_view>(
    {"utf-8", "us-ascii", "iso-8859-", "windows-125", "windows-874", "windows-31j", "koi8-",
     "shift_jis", "euc-", "gb2312", "gbk", "gb18030", "big5", "tis-620", "macintosh", "ibm437",
     "ibm85", "ibm86"});

// Whether the XML declaration, if there is one, names an encoding that shows the document as it was
// read here.
bool hasRightEncoding(Units document, bool isUtf16) {
  if (!document.starts_with(u"<?xml")) return true;
  const Units declaration = document.substr(0, document.find(u"?>"));
  const std::size_t at = declaration.find(u"encoding");
  if (at == Units::npos) return true;
  const std::size_t open = declaration.find_first_of(u"\"'", at);
  if (open == Units::npos || declaration.rfind(u"encoding") != at) return false;
  std::string name;
  for (const char16_t unit : declaration.substr(open + 1)) {
    if (unit == declaration[open]) break;
    name += unit < 128 ? static_cast<char>(unit | (unit >= 'A' && unit <= 'Z' ? 0x20 : 0)) : '?';
  }
  if (isUtf16) return name.starts_with("utf-16");
  return std::ranges::any_of(kAsciiBased, [&](auto start) { return name.starts_with(start); });
}

// Whether there is a DTD, which comes before the first element; so do comments and processing
// instructions.
bool hasDocumentType(Units document) {
  while (true) {
    document = document.substr(std::min(document.find(u'<'), document.size()));
    if (document.starts_with(u"<!--")) {
      document = behind(document.substr(4), u"-->");
    } else if (document.starts_with(u"<?")) {
      document = behind(document, u"?>");
    } else {
      return document.starts_with(u"<!");
    }
  }
}

// Counts the attributes of the tag that `text` starts with and adds the prefixes that it declares.
std::size_t countAttributes(Units text, std::size_t& prefixes) {
  for (std::size_t attributes = 0;; ++attributes) {
    const std::size_t quote = text.find_first_of(u"\"'>");
    if (quote == Units::npos || text[quote] == u'>') return attributes;
    if (text.substr(0, quote).find(u"xmlns:") != Units::npos) ++prefixes;
    text = behind(text.substr(quote + 1), text.substr(quote, 1));
  }
}

// Looks at every "<", whatever it is part of: between it and the next one is at most one tag, since
// no value may hold one. What a comment or a CDATA section shows counts as well.
bool hasModestTags(Units document) {
  std::size_t prefixes = 0;
  for (std::size_t at = document.find(u'<'); at != Units::npos;) {
    const std::size_t next = document.find(u'<', at + 1);
    const Units text = document.substr(at, next - at);
    const bool isTag = !text.starts_with(u"<!") && !text.starts_with(u"<?");
    if (isTag && countAttributes(text, prefixes) > kMaxXmlAttributes) return false;
    if (prefixes > kMaxXmlPrefixes) return false;
    at = next;
  }
  return true;
}

}  // namespace

bool isAcceptableXml(std::span<const std::byte> bytes) {
  const std::optional<std::u16string> units = unitsOf(bytes);
  return units && units->find(u'\0') == Units::npos && startsWithMarkup(*units) &&
         hasRightEncoding(*units, hasUtf16Mark(bytes)) && !hasDocumentType(*units) &&
         hasModestTags(*units);
}

}  // namespace quillgate
