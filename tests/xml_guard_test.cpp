#include "config/xml_guard.h"

#include <gtest/gtest.h>

#include <string>
#include <string_view>

#include "tests/support/utf16.h"

namespace quillgate {
namespace {

using test::markedUtf16;
using test::utf16;

using namespace std::string_literals;
using namespace std::string_view_literals;

bool accepts(std::string_view document) {
  return isAcceptableXml(std::as_bytes(std::span(document)));
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

TEST(XmlGuard, TakesNoOtherMarkupForADocumentType) {
  EXPECT_TRUE(
      accepts("<!-- <!DOCTYPE a> --><?p <!DOCTYPE a>?><config><!-- <!DOCTYPE a> --></config>"));
  EXPECT_TRUE(accepts("<!--><!DOCTYPE a>--><config/>"));
  EXPECT_FALSE(accepts("<!----><!DOCTYPE a><config/>"));
  EXPECT_FALSE(accepts("<?p?><!DOCTYPE a><config/>"));
  EXPECT_FALSE(accepts("<!x><config/>"));
}

TEST(XmlGuard, RefusesDocumentTypesWhereverTheyStand) {
  EXPECT_FALSE(accepts("<!DOCTYPE config><config/>"));
  EXPECT_FALSE(accepts("<?xml version='1.0'?><!-- c --><!DOCTYPE config SYSTEM 'x'><config/>"));
  EXPECT_FALSE(accepts("<!DOCTYPE c [<!ENTITY a 'b'>]><config>&a;</config>"));
  EXPECT_FALSE(accepts("\xEF\xBB\xBF <!DOCTYPE config><config/>"));
  EXPECT_FALSE(accepts(markedUtf16(u"<!DOCTYPE config><config/>", true)));
  EXPECT_FALSE(accepts(markedUtf16(u"<!DOCTYPE config><config/>", false)));
}

TEST(XmlGuard, RefusesNulsWhereverTheyStand) {
  EXPECT_FALSE(accepts("<config/>\0"sv));
  EXPECT_FALSE(accepts("<config/>\0junk"sv));
  EXPECT_FALSE(accepts("<config>\0</config>"sv));
  EXPECT_FALSE(accepts(markedUtf16(u"<config/>\0"sv, true)));
}

TEST(XmlGuard, ReadsUtf16OnlyWithItsMarkAndInWholeUnits) {
  EXPECT_TRUE(accepts(markedUtf16(u"<config>\u3C00\u003C/config>", true)));
  EXPECT_TRUE(accepts(markedUtf16(u"<config>\u3C00\u003C/config>", false)));
  EXPECT_FALSE(accepts(utf16(u"<config/>", true)));
  EXPECT_FALSE(accepts(utf16(u"<config/>", false)));
  EXPECT_FALSE(accepts(markedUtf16(u"<config/>", true) + " "));
}

std::string declaring(const std::string& encoding) {
  return "<?xml version='1.0' encoding='" + encoding + "'?><config/>";
}

TEST(XmlGuard, AcceptsEncodingsThatKeepAsciiMarkup) {
  for (const char* encoding :
       {"UTF-8",          "utf-8",        "UTF8",         "US-ASCII",
        "ANSI_X3.4-1968", "ISO-8859-1",   "iso-8859-15",  "ISO_8859-8-I",
        "iso8859_2",      "latin1",       "Latin-10",     "l1",
        "csISOLatin1",    "ISO-IR-100",   "ISO646-US",    "Windows-1252",
        "windows-874",    "windows-31j",  "cp1252",       "CP932",
        "ms932",          "MS936",        "MSCP949",      "cp936",
        "cp949",          "cp950",        "x-cp20949",    "csWindows31J",
        "KOI8-R",         "koi8-u",       "Shift_JIS",    "x-sjis",
        "MS_Kanji",       "EUC-JP",       "euc-kr",       "x-euc-jp",
        "EUC-TW",         "GB2312",       "GB_2312-80",   "GBK",
        "chinese",        "GB18030",      "Big5",         "Big5-HKSCS",
        "ks_c_5601-1987", "korean",       "UHC",          "TIS-620",
        "VISCII",         "TCVN5712-1",   "Georgian-PS",  "macintosh",
        "x-mac-cyrillic", "x-mac-arabic", "x-mac-hebrew", "mac",
        "IBM437",         "ibm850",       "IBM866",       "cp866nav",
        "IBM00858",       "DOS-862",      "csIBM855",     "csPC850Multilingual"}) {
    EXPECT_TRUE(accepts(declaring(encoding))) << encoding;
  }
  EXPECT_TRUE(accepts("<?xml version=\"1.0\" encoding = \"UTF-8\" ?><config/>"));
  EXPECT_TRUE(accepts("\xEF\xBB\xBF" + declaring("UTF-8")));
}

TEST(XmlGuard, RefusesEncodingsThatCouldHideMarkup) {
  for (const char* encoding : {"UTF-7",
                               "UNICODE-1-1-UTF-7",
                               "csUnicode11UTF7",
                               "UTF-32",
                               "ISO-10646-UCS-4",
                               "UCS-2",
                               "EBCDIC-CP-US",
                               "IBM037",
                               "cp037",
                               "cp1047",
                               "IBM01047",
                               "IBM500",
                               "csIBM500",
                               "IBM870",
                               "IBM871",
                               "IBM880",
                               "cp930",
                               "cp12712",
                               "IBM-Thai",
                               "ISO-2022-JP",
                               "ISO-2022-KR",
                               "ISO-2022-CN",
                               "x-cp50227",
                               "ISO-IR-149",
                               "ISO646-DE",
                               "HZ-GB-2312",
                               "JOHAB",
                               "cp1361",
                               "windows-1361",
                               "ARMSCII-8",
                               "ISIRI-3342",
                               "greek7",
                               "arabic7",
                               "latin-greek",
                               "SCSU",
                               "BOCU-1",
                               "cp",
                               "l",
                               "x-",
                               "cs",
                               "",
                               "x",
                               "\xE9"}) {
    EXPECT_FALSE(accepts(declaring(encoding))) << encoding;
  }
  EXPECT_FALSE(accepts("<?xml version='1.0' encoding?><config/>"));
  EXPECT_FALSE(accepts("<?xml version='1.0' encoding='x?><config/>"));
  EXPECT_FALSE(accepts("<?xml version=\"encoding='UTF-8'\" encoding='UTF-7'?><config/>"));
}

TEST(XmlGuard, LooksForTheEncodingInTheDeclarationOnly) {
  EXPECT_TRUE(accepts("<config encoding='UTF-7'/>"));
  EXPECT_TRUE(accepts("<!-- <?xml encoding='UTF-7'?> --><config/>"));
  EXPECT_TRUE(accepts("<?xml version='1.0'?><config encoding='UTF-7'/>"));
}

TEST(XmlGuard, ReadsAsManyBitsAsTheDeclarationSays) {
  EXPECT_FALSE(accepts(declaring("UTF-16")));
  const auto wide = [](const std::u16string& encoding) {
    return markedUtf16(u"<?xml version='1.0' encoding='" + encoding + u"'?><config/>", true);
  };
  EXPECT_TRUE(accepts(wide(u"UTF-16")));
  EXPECT_TRUE(accepts(wide(u"utf-16le")));
  EXPECT_FALSE(accepts(wide(u"UTF-8")));
  EXPECT_FALSE(accepts(wide(u"ISO-8859-1")));
}

// In Shift_JIS, "\x83]" is one character and "\x83]]>" does not end a CDATA section.
TEST(XmlGuard, FindsTagsAfterCharactersThatEndInAMarkOfMarkup) {
  const std::string tag = "<a" + repeated(" a=''", kMaxXmlAttributes + 1) + "/>";
  EXPECT_FALSE(
      accepts("<?xml version='1.0' encoding='Shift_JIS'?><config>"
              "<![CDATA[\x83]]> <!-- ]]>" +
              tag + "--></config>"));
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

TEST(XmlGuard, CountsAttributesWhateverTheirValuesHold) {
  for (const char* value : {"'>'", "\">\"", "'\"'", "\"'\"", "'a=\"b\"'", "''"}) {
    const std::string attribute = " a = "s + value;
    EXPECT_TRUE(accepts("<a" + repeated(attribute, kMaxXmlAttributes) + ">")) << value;
    EXPECT_FALSE(accepts("<a" + repeated(attribute, kMaxXmlAttributes + 1) + ">")) << value;
  }
}

TEST(XmlGuard, LimitsTheAttributesOfATagAnywhere) {
  const std::string tag = "<a" + repeated(" a=''", kMaxXmlAttributes + 1) + "/>";
  const std::string start = "<?xml version='1.0'?><config>";
  for (const char* before :
       {"", "<b>'</b>", "<!-- don't -->", "<!-- < ' -->", "<?p ' ?>", "<?p < \"?>",
        "<![CDATA[ ']]>", "<![CDATA[<!--]]>", "<b c='>'/>", "text ' \" > "}) {
    EXPECT_FALSE(accepts(start + before + tag + "</config>")) << before;
  }
}

TEST(XmlGuard, CountsNothingOutsideOfTags) {
  const std::string quotes = repeated("=''", kMaxXmlAttributes + 1);
  EXPECT_TRUE(accepts("<config><!--" + quotes + "--><b>" + quotes + "</b><?p " + quotes +
                      "?><![CDATA[" + quotes + "]]></config>"));
  EXPECT_TRUE(accepts("<config>" + repeated("xmlns:a", kMaxXmlPrefixes + 1) + "</config>"));
  EXPECT_TRUE(accepts("<config>" + repeated("<b c='1'/>", 10 * kMaxXmlAttributes) + "</config>"));
}

TEST(XmlGuard, LimitsThePrefixesThatAFileDeclares) {
  const auto declaring = [](std::size_t prefixes) {
    return "<config>" + repeated("<a xmlns:p='u'/>", prefixes) + "</config>";
  };
  EXPECT_TRUE(accepts(declaring(kMaxXmlPrefixes)));
  EXPECT_FALSE(accepts(declaring(kMaxXmlPrefixes + 1)));
}

TEST(XmlGuard, RefusesWhatDoesNotStartWithMarkup) {
  EXPECT_TRUE(accepts(" \t\r\n<config/>"));
  for (const char* document : {"", " \r\n", "plain text", "\xEF\xBB\xBF", "x<config/>"}) {
    EXPECT_FALSE(accepts(document)) << document;
  }
  // "<?xml version='1.0'?><a/>" in EBCDIC, which a library can recognise.
  EXPECT_FALSE(
      accepts("\x4C\x6F\xA7\x94\x93\x40\xA5\x85\x99\xA2\x89\x96\x95\x7E\x7D\xF1\x4B\xF0\x7D"
              "\x6F\x6E\x4C\x81\x61\x6E"));
}

}  // namespace
}  // namespace quillgate
