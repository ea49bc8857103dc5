#include "config/xml_guard.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

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

// Nothing for UTF-16 that ends in the middle of a unit.
std::optional<std::u16string> unitsOf(std::span<const std::byte> bytes) {
  if (startsWith(bytes, {0xEF, 0xBB, 0xBF})) return widen(bytes.subspan(3));
  const bool littleEndian = startsWith(bytes, {0xFF, 0xFE});
  if (!littleEndian && !startsWith(bytes, {0xFE, 0xFF})) return widen(bytes);
  if (bytes.size() % 2 != 0) return std::nullopt;
  return joinPairs(bytes.subspan(2), littleEndian ? 0 : 1);
}

constexpr Units kBlanks = u" \t\r\n";

// Walks over the markup of one document.
class Scanner {
 public:
  explicit Scanner(Units units) : rest_(units) {}

  bool accepts() {
    if (rest_.find(u'\0') != Units::npos) return false;
    if (rest_.starts_with(u"<?xml") && !acceptsDeclaration()) return false;
    while (true) {
      const std::size_t markup = rest_.find(u'<');
      if (markup == Units::npos) return true;
      rest_.remove_prefix(markup);
      if (!acceptsMarkup()) return false;
    }
  }

 private:
  bool acceptsDeclaration() const {
    constexpr std::array<std::string_view, 5> kKnown = {"utf-8", "utf-16", "us-ascii", "iso-8859-",
                                                        "windows-125"};
    const Units declaration = rest_.substr(0, rest_.find(u"?>"));
    const std::size_t at = declaration.find(u"encoding");
    if (at == Units::npos) return true;
    const std::size_t open = declaration.find_first_of(u"\"'", at);
    if (open == Units::npos) return false;
    std::string name;
    for (const char16_t unit : declaration.substr(open + 1)) {
      if (unit == declaration[open]) break;
      name += unit < 128 ? static_cast<char>(unit | (unit >= 'A' && unit <= 'Z' ? 0x20 : 0)) : '?';
    }
    return std::ranges::any_of(kKnown, [&](auto known) { return name.starts_with(known); });
  }

  bool acceptsMarkup() {
    if (rest_.starts_with(u"<?")) return skipPast(u"?>");
    if (rest_.starts_with(u"<!--")) {
      rest_.remove_prefix(4);
      return skipPast(u"-->");
    }
    if (rest_.starts_with(u"<![CDATA[")) return skipPast(u"]]>");
    if (rest_.starts_with(u"<!")) return false;
    if (rest_.starts_with(u"</")) return closeElement() && skipPast(u">");
    rest_.remove_prefix(1);
    return acceptsStartTag();
  }

  bool acceptsStartTag() {
    const std::size_t outerPrefixes = prefixes_.size();
    std::vector<Units> names = {takeName()};
    while (true) {
      skipBlanks();
      if (rest_.starts_with(u'>') || rest_.starts_with(u"/>")) break;
      const Units name = takeName();
      if (name.empty() || !skipValue() || names.size() > kMaxXmlAttributes) return false;
      if (name.starts_with(u"xmlns:")) {
        prefixes_.push_back(name.substr(6));
      } else {
        names.push_back(name);
      }
    }
    if (prefixes_.size() > kMaxXmlAttributes) return false;
    if (!std::ranges::all_of(names, [this](Units name) { return isBound(name); })) return false;

    outerPrefixes_.push_back(outerPrefixes);
    if (outerPrefixes_.size() > kMaxXmlDepth) return false;
    return rest_.front() == u'>' || closeElement();
  }

  bool closeElement() {
    if (outerPrefixes_.empty()) return false;
    prefixes_.resize(outerPrefixes_.back());
    outerPrefixes_.pop_back();
    return true;
  }

  bool isBound(Units name) const {
    const std::size_t colon = name.find(u':');
    if (colon == Units::npos) return true;
    const Units prefix = name.substr(0, colon);
    return name.find(u':', colon + 1) == Units::npos && colon + 1 < name.size() &&
           (prefix == u"xml" || std::ranges::find(prefixes_, prefix) != prefixes_.end());
  }

  void skipBlanks() {
    rest_.remove_prefix(std::min(rest_.find_first_not_of(kBlanks), rest_.size()));
  }

  Units takeName() {
    const Units name = rest_.substr(0, rest_.find_first_of(u" \t\r\n=/><\"'"));
    rest_.remove_prefix(name.size());
    return name;
  }

  // Skips the "=" and the quoted value of an attribute.
  bool skipValue() {
    skipBlanks();
    if (!rest_.starts_with(u'=')) return false;
    rest_.remove_prefix(1);
    skipBlanks();
    if (!rest_.starts_with(u'"') && !rest_.starts_with(u'\'')) return false;
    const Units quote = rest_.substr(0, 1);
    rest_.remove_prefix(1);
    return skipPast(quote);
  }

  bool skipPast(Units end) {
    const std::size_t at = rest_.find(end);
    if (at == Units::npos) return false;
    rest_.remove_prefix(at + end.size());
    return true;
  }

  Units rest_;
  std::vector<Units> prefixes_;  // declared where the scanner stands, outermost first
  std::vector<std::size_t>
      outerPrefixes_;  // for each open element, how many its surroundings declare
};

}  // namespace

bool isAcceptableXml(std::span<const std::byte> bytes) {
  const std::optional<std::u16string> units = unitsOf(bytes);
  return units && Scanner(*units).accepts();
}

}  // namespace quillgate
