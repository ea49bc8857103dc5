#include "config/xml_guard.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

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

// Names of encodings that keep ASCII markup: every byte that is "<", "!" or another mark in ASCII
// is always that mark, and nothing else is. In some of them, such as Shift_JIS, such a byte may be
// the second half of a character if it is a letter or one of @[\]^_`{|}~; the scan below looks at
// none of these alone. docs/design/xml-libraries.md says how they were found.
//
// They stand here in lower case and without "-", "_" and ".", and begin the name that is looked for
// or, in kWholeNames, are all of it.
constexpr auto kNames = std::to_array<std::string_view>(
    {"ansix34",    "ascii",      "asmo708",       "baltic",     "big5",        "bigfive",
     "cnbig5",     "cngb",       "cwi",           "cyrillic",   "decmcs",      "ecma114",
     "ecma118",    "ecma128",    "ecmacyrillic",  "elot928",    "euc",         "gb13000",
     "gb18030",    "gb2312",     "gbk",           "georgian",   "gost1976",    "greek8",
     "hebrew",     "hpgreek8",   "hproman",       "hpthai8",    "hpturkish8",  "iso10367",
     "iso646us",   "iso6937",    "iso8859",       "isoceltic",  "isolatin",    "jisc6220",
     "koi8",       "korean",     "ksc56",

     "macarabic",  "maccentral", "macce",         "macchinese", "maccroatian", "maccyrillic",
     "macgreek",   "machebrew",  "macicelandic",  "macintosh",  "macis",       "macjapanese",
     "mackorean",  "macroman",   "macsami",       "macthai",    "macturkish",  "macuk",
     "mik",        "msansi",     "msarab",        "mscyrl",     "msee",        "msgreek",
     "mshebr",     "mskanji",    "msmaccyrillic", "msturk",     "os2latin1",   "pt154",
     "rk1048",     "roman8",     "roman9",        "ruscii",     "shiftjis",    "sjis",
     "strk1048",   "tcvn",       "thai8",         "tis620",     "ts5881",      "tscii",
     "turkish8",   "uhc",        "ujis",          "usascii",    "utf8",        "viscii",
     "winbaltrim", "winsami2"});
constexpr auto kWholeNames =
    std::to_array<std::string_view>({"arabic", "chinese", "greek", "mac", "us"});

// Those with a number, and what stands before it.
constexpr auto kCodePages = std::to_array<int>(
    {31,   367,  437,  708,  720,  737,  770,  771,  772,  773,  774,  775,  813,  819,   848,
     850,  851,  852,  855,  856,  857,  858,  860,  861,  862,  863,  864,  865,  866,   868,
     869,  874,  891,  901,  902,  903,  904,  912,  915,  916,  920,  921,  922,  932,   936,
     943,  949,  950,  1004, 1008, 1046, 1089, 1124, 1125, 1129, 1161, 1162, 1163, 1167,  1250,
     1251, 1252, 1253, 1254, 1255, 1256, 1257, 1258, 1282, 4909, 5347, 9066, 9448, 10007, 20949});
constexpr auto kIsoRegistrations =
    std::to_array<int>({6,   14,  57,  90,  100, 101, 109, 110, 111, 126, 127, 138, 139, 143,
                        144, 148, 153, 155, 156, 157, 166, 179, 193, 197, 199, 203, 209, 226});
constexpr auto kLatins = std::to_array<int>({1, 2, 3, 4, 5, 6, 7, 8, 9, 10});
struct NumberedNames {
  std::string_view start;
  std::span<const int> numbers;
};
constexpr auto kNumberedNames = std::to_array<NumberedNames>({{"cp", kCodePages},
                                                              {"dos", kCodePages},
                                                              {"ibm", kCodePages},
                                                              {"ms", kCodePages},
                                                              {"mscp", kCodePages},
                                                              {"pc", kCodePages},
                                                              {"windows", kCodePages},
                                                              {"isoir", kIsoRegistrations},
                                                              {"l", kLatins},
                                                              {"latin", kLatins}});

// Something may follow the number that is no digit.
bool isOneOf(const NumberedNames& names, std::string_view name) {
  if (!name.starts_with(names.start)) return false;
  name.remove_prefix(names.start.size());
  int number = 0;
  std::from_chars(name.data(), name.data() + name.size(), number);
  return std::ranges::find(names.numbers, number) != names.numbers.end();
}

bool keepsAsciiMarkup(std::string lowerCaseName) {
  std::erase_if(lowerCaseName, [](char c) { return c == '-' || c == '_' || c == '.'; });
  std::string_view name = lowerCaseName;
  for (const std::string_view mark : {"cs", "x"}) {  // of aliases, and of unregistered names
    if (name.starts_with(mark)) name.remove_prefix(mark.size());
  }
  return std::ranges::any_of(kNames, [&](auto start) { return name.starts_with(start); }) ||
         std::ranges::find(kWholeNames, name) != kWholeNames.end() ||
         std::ranges::any_of(kNumberedNames, [&](auto& names) { return isOneOf(names, name); });
}

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
  return keepsAsciiMarkup(std::move(name));
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
