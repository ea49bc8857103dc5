#include "config/xml_guard.h"

#include <gtest/gtest.h>

#include <string>
#include <string_view>

namespace quillgate {
namespace {

using namespace std::string_view_literals;

bool accepts(std::string_view document) {
  return isAcceptableXml(std::as_bytes(std::span(document)));
}

std::string utf16(std::u16string_view text, bool littleEndian) {
  std::string bytes;
  for (const char16_t unit : text) {
    const char low = static_cast<char>(unit & 0xFF);
    const char high = static_cast<char>(unit >> 8);
    bytes += littleEndian ? low : high;
    bytes += littleEndian ? high : low;
  }
  return bytes;
}

std::string repeated(std::string_view piece, std::size_t times) {
  std::string text;
  for (std::size_t i = 0; i < times; ++i) text += piece;
  return text;
}

TEST(XmlGuard, AcceptsEveryKindOfMarkupThatARuleFileMayHold) {
  EXPECT_TRUE(accepts("<config/>"));
  EXPECT_TRUE(
      accepts("<?xml version='1.0'?>\n<!-- c > < --><config a = 'x>y' b=\"z'\">t<b /><b></b >"
              "<![CDATA[ <!DOCTYPE & ]]><?pi <!DOCTYPE?></config>\n<!-- end -->"));
  EXPECT_TRUE(accepts("\xEF\xBB\xBF<config></config>"));
  EXPECT_TRUE(accepts("<config xmlns='u' xmlns:p='v'><p:a p:b='1' xml:lang='en'/></config>"));
  EXPECT_TRUE(accepts("<p:config p:x='1' xmlns:p='v'/>"));
}

TEST(XmlGuard, RefusesDocumentTypesWhereverTheyStand) {
  EXPECT_FALSE(accepts("<!DOCTYPE config><config/>"));
  EXPECT_FALSE(accepts("<?xml version='1.0'?><!-- c --><!DOCTYPE config SYSTEM 'x'><config/>"));
  EXPECT_FALSE(accepts("<!DOCTYPE c [<!ENTITY a 'b'>]><config>&a;</config>"));
  EXPECT_FALSE(accepts("\xEF\xBB\xBF <!DOCTYPE config><config/>"));
  EXPECT_FALSE(accepts("\xFF\xFE" + utf16(u"<!DOCTYPE config><config/>", true)));
  EXPECT_FALSE(accepts("\xFE\xFF" + utf16(u"<!DOCTYPE config><config/>", false)));
}

TEST(XmlGuard, RefusesNulsWhereverTheyStand) {
  EXPECT_FALSE(accepts("<config/>\0"sv));
  EXPECT_FALSE(accepts("<config/>\0junk"sv));
  EXPECT_FALSE(accepts("<config>\0</config>"sv));
  EXPECT_FALSE(accepts("\xFF\xFE" + utf16(u"<config/>\0"sv, true)));
}

TEST(XmlGuard, ReadsUtf16OnlyWithItsMarkAndInWholeUnits) {
  EXPECT_TRUE(accepts("\xFF\xFE" + utf16(u"<config>\u3C00\u003C/config>", true)));
  EXPECT_TRUE(accepts("\xFE\xFF" + utf16(u"<config>\u3C00\u003C/config>", false)));
  EXPECT_FALSE(accepts(utf16(u"<config/>", true)));
  EXPECT_FALSE(accepts(utf16(u"<config/>", false)));
  EXPECT_FALSE(accepts("\xFF\xFE" + utf16(u"<config/>", true) + " "));
}

TEST(XmlGuard, RefusesEncodingsThatCouldHideMarkup) {
  const auto declared = [](const std::string& encoding) {
    return "<?xml version='1.0' encoding='" + encoding + "'?><config/>";
  };
  for (const char* known :
       {"UTF-8", "utf-8", "UTF-16", "US-ASCII", "ISO-8859-1", "iso-8859-15", "Windows-1252"}) {
    EXPECT_TRUE(accepts(declared(known))) << known;
  }
  for (const char* other :
       {"UTF-7", "UTF-32", "EBCDIC-CP-US", "Shift_JIS", "ISO-2022-JP", "", "x", "\xE9"}) {
    EXPECT_FALSE(accepts(declared(other))) << other;
  }
  EXPECT_TRUE(accepts("<?xml version=\"1.0\" encoding = \"UTF-8\" ?><config/>"));
  EXPECT_FALSE(accepts("<?xml version='1.0' encoding?><config/>"));
  EXPECT_FALSE(accepts("<?xml version='1.0' encoding='x?><config/>"));
}

TEST(XmlGuard, RefusesPrefixesThatNobodyDeclared) {
  EXPECT_FALSE(accepts("<p:config/>"));
  EXPECT_FALSE(accepts("<config><p:a/></config>"));
  EXPECT_FALSE(accepts("<config p:a='1'/>"));
  EXPECT_FALSE(accepts("<config><a xmlns:p='u'/><p:b/></config>"));
  EXPECT_FALSE(accepts("<config><a xmlns:p='u'></a><p:b/></config>"));
  EXPECT_TRUE(accepts("<config xmlns:p='u'><a xmlns:p='v'/><p:b/></config>"));
  EXPECT_FALSE(accepts("<config xmlns:p='u'><p:b:c/></config>"));
  EXPECT_FALSE(accepts("<config xmlns:p='u'><p:/></config>"));
  EXPECT_FALSE(accepts("<config><:b/></config>"));
}

TEST(XmlGuard, LimitsHowDeepElementsNest) {
  const auto nested = [](std::size_t depth) {
    return repeated("<a>", depth) + repeated("</a>", depth);
  };
  EXPECT_TRUE(accepts(nested(kMaxXmlDepth)));
  EXPECT_FALSE(accepts(nested(kMaxXmlDepth + 1)));
  EXPECT_TRUE(accepts("<c>" + repeated("<a/>", 10 * kMaxXmlDepth) + "</c>"));
}

TEST(XmlGuard, LimitsTheAttributesOfATag) {
  const auto tagWith = [](std::size_t attributes) {
    std::string tag = "<a";
    for (std::size_t i = 0; i < attributes; ++i) tag += " a" + std::to_string(i) + "='1'";
    return tag + "/>";
  };
  EXPECT_TRUE(accepts(tagWith(kMaxXmlAttributes)));
  EXPECT_FALSE(accepts(tagWith(kMaxXmlAttributes + 1)));
}

TEST(XmlGuard, LimitsThePrefixesDeclaredAtOnce) {
  const auto tagWith = [](std::size_t prefixes) {
    std::string tag = "<a";
    for (std::size_t i = 0; i < prefixes; ++i) tag += " xmlns:p" + std::to_string(i) + "='u'";
    return tag + "><b/></a>";
  };
  EXPECT_TRUE(accepts(tagWith(kMaxXmlAttributes)));
  EXPECT_FALSE(accepts(tagWith(kMaxXmlAttributes + 1)));
}

TEST(XmlGuard, RefusesMarkupThatIsCutAnywhere) {
  const std::string document =
      "<?xml version='1.0'?><!--c--><config a='1'><![CDATA[x]]><b/></config>";
  const auto isInsideMarkup = [&](std::size_t length) {
    const std::size_t open = document.rfind('<', length - 1);
    return document.find('>', open) >= length;
  };
  for (std::size_t length = 1; length < document.size(); ++length) {
    if (isInsideMarkup(length)) {
      EXPECT_FALSE(accepts(document.substr(0, length))) << length;
    }
  }
}

TEST(XmlGuard, RefusesTagsThatAreNoTags) {
  for (const char* document : {"<", "<a b>", "<a =''>", "<a b='>", "<a b=c>", "<a 'b'>", "</a>",
                               "<a></a></a>", "<a b='1' / >", "<!x>", "<a/b>"}) {
    EXPECT_FALSE(accepts(document)) << document;
  }
}

TEST(XmlGuard, LeavesTextWithoutMarkupToTheLibrary) {
  EXPECT_TRUE(accepts(""));
  EXPECT_TRUE(accepts("plain text"));
}

}  // namespace
}  // namespace quillgate
