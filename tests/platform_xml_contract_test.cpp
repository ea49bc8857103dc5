#include <gtest/gtest.h>

#include "platform/xml_document.h"
#include "tests/support/bytes.h"
#include "tests/support/temp_folder.h"
#include "tests/support/test_sockets.h"
#include "tests/support/wine.h"

namespace quillgate::platform {
namespace {

using test::bytesOf;

XmlDocument newDocument() { return XmlDocument::create().value(); }

std::optional<std::string> printed(const XmlDocument& document) {
  const auto bytes = document.print();
  if (!bytes) return std::nullopt;
  return std::string(reinterpret_cast<const char*>(bytes->data()), bytes->size());
}

// The text of the document element "r" of `xml`; nothing when it does not parse.
std::optional<std::wstring> rootTextOf(std::string_view xml) {
  XmlDocument document = newDocument();
  if (!document.parse(bytesOf(xml))) return std::nullopt;
  return document.selectSingleNode(L"/r").value().text();
}

TEST(PlatformXml, ReadsAllCharacterDataInsideAnElement) {
  EXPECT_EQ(rootTextOf("<r/>"), L"");
  EXPECT_EQ(rootTextOf("<r></r>"), L"");
  EXPECT_EQ(rootTextOf("<r>127.0.0.1</r>"), L"127.0.0.1");
  EXPECT_EQ(rootTextOf("<r>a<b>c<d>e</d></b>f</r>"), L"acef");
  EXPECT_EQ(rootTextOf("<r>1<!-- 2 -->3<?p 4?>5<![CDATA[<6>&amp;]]></r>"), L"135<6>&amp;");
}

TEST(PlatformXml, KeepsEveryBlankButTurnsLineEndsIntoLineFeeds) {
  EXPECT_EQ(rootTextOf("<r> </r>"), L" ");
  EXPECT_EQ(rootTextOf("<r>\n\t a  b \n</r>"), L"\n\t a  b \n");
  EXPECT_EQ(rootTextOf("<r>a\r\nb\rc</r>"), L"a\nb\nc");
}

TEST(PlatformXml, ReadsReferencesToCharacters) {
  EXPECT_EQ(rootTextOf("<r>&lt;&gt;&amp;&quot;&apos;&#65;&#x20AC;&#13;</r>"), L"<>&\"'A\u20ac\r");
}

TEST(PlatformXml, ReadsEveryUsualEncoding) {
  EXPECT_EQ(rootTextOf("<r>\xC3\xA9\xE2\x82\xAC\xF0\x9F\x98\x80</r>"), L"\u00e9\u20ac\U0001F600");
  EXPECT_EQ(rootTextOf("\xEF\xBB\xBF<r>\xC3\xA9</r>"), L"\u00e9");
  EXPECT_EQ(rootTextOf("<?xml version=\"1.0\" encoding=\"UTF-8\"?>\r\n<r>\xC3\xA9</r>\r\n"),
            L"\u00e9");
  EXPECT_EQ(rootTextOf("<?xml version=\"1.0\" encoding=\"ISO-8859-1\"?><r>\xE9</r>"), L"\u00e9");
  EXPECT_EQ(rootTextOf("<?xml version=\"1.0\" encoding=\"windows-1252\"?><r>\x80</r>"), L"\u20ac");
  using std::string_literals::operator""s;
  EXPECT_EQ(rootTextOf("\xFF\xFE<\0r\0>\0\xAC\x20<\0/\0r\0>\0"s), L"\u20ac");
  EXPECT_EQ(rootTextOf("\xFE\xFF\0<\0r\0>\x20\xAC\0<\0/\0r\0>"s), L"\u20ac");
}

TEST(PlatformXml, ReadsEncodingsOfOtherScripts) {
  const auto inEncoding = [](const std::string& encoding, const std::string& text) {
    return rootTextOf("<?xml version='1.0' encoding='" + encoding + "'?><r>" + text + "</r>");
  };
  // Of these, wine's library has only GBK.
  const auto unlessWine = [](const std::wstring& text) {
    return test::runsUnderWine() ? std::nullopt : std::optional(text);
  };
  EXPECT_EQ(inEncoding("GBK", "\xC4\xE3"), L"\u4F60");
  EXPECT_EQ(inEncoding("KOI8-R", "\xC1"), unlessWine(L"\u0430"));
  EXPECT_EQ(inEncoding("windows-874", "\xA1"), unlessWine(L"\u0E01"));
  EXPECT_EQ(inEncoding("Shift_JIS", "\x83]"), unlessWine(L"\u30BE"));
  EXPECT_EQ(inEncoding("EUC-JP", "\xA5\xBE"), unlessWine(L"\u30BE"));
  EXPECT_EQ(inEncoding("EUC-KR", "\xB0\xA1"), unlessWine(L"\uAC00"));
  EXPECT_EQ(inEncoding("GB2312", "\xC4\xE3"), unlessWine(L"\u4F60"));
  EXPECT_EQ(inEncoding("GB18030", "\xC4\xE3"), unlessWine(L"\u4F60"));
  EXPECT_EQ(inEncoding("Big5", "\xA7\x41"), unlessWine(L"\u4F60"));
}

TEST(PlatformXml, RefusesWhatIsNotWellFormed) {
  for (const char* xml : {"",
                          " ",
                          "text",
                          "<r>",
                          "<r></s>",
                          "<r/><r/>",
                          "<r/>text",
                          "text<r/>",
                          "<r",
                          "<r>&unknown;</r>",
                          "<r>&</r>",
                          "<r>a < b</r>",
                          "<r a=1/>",
                          "<r a='1' a='2'/>",
                          "<1r/>",
                          " <?xml version='1.0'?><r/>",
                          "<r>\xFF</r>",
                          "<r>\x01</r>",
                          "<r>&#0;</r>",
                          "<!-- a -->"}) {
    EXPECT_EQ(rootTextOf(xml), std::nullopt) << xml;
  }
}

TEST(PlatformXml, RefusesUndeclaredPrefixes) {
  // Wine's library drops the prefixes.
  for (const char* xml : {"<p:r/>", "<r><p:a/></r>", "<r p:a='1'/>",
                          "<r><a xmlns:p='u'/><p:b/></r>", "<r xmlns:p='u'><p:b:c/></r>"}) {
    EXPECT_EQ(rootTextOf(xml).has_value(), test::runsUnderWine()) << xml;
  }
  EXPECT_EQ(rootTextOf("<r xmlns:p='u'><p:a>text</p:a></r>"), L"text");
}

TEST(PlatformXml, LimitsHowDeepElementsNest) {
  const auto nested = [](int depth) {
    std::string xml = "<r>";
    for (int i = 1; i < depth; ++i) xml += "<a>";
    for (int i = 1; i < depth; ++i) xml += "</a>";
    return xml + "</r>";
  };
  EXPECT_EQ(rootTextOf(nested(256)), L"");
  EXPECT_EQ(rootTextOf(nested(258)), std::nullopt);  // libxml2 lets one more pass
  EXPECT_EQ(rootTextOf(nested(100'000)), std::nullopt);
}

TEST(PlatformXml, IsEmptyAfterWhatItRefuses) {
  XmlDocument document = newDocument();
  ASSERT_TRUE(document.parse(bytesOf("<r>first</r>")));
  EXPECT_FALSE(document.parse(bytesOf("<r><s></r>")));
  EXPECT_FALSE(document.selectSingleNode(L"/r").has_value());
  EXPECT_EQ(printed(document), std::nullopt);
  EXPECT_TRUE(document.parse(bytesOf("<r>second</r>")));
  EXPECT_EQ(document.selectSingleNode(L"/r").value().text(), L"second");
}

TEST(PlatformXml, SelectsTheFirstElementThatMatches) {
  XmlDocument document = newDocument();
  ASSERT_TRUE(
      document.parse(bytesOf("<c><s><rule id='2'>no</rule></s><rules>"
                             "<rule id='1'>one</rule><rule id='2'>two<x>a</x><x>b</x></rule>"
                             "<rule id='2'>three</rule><rule id='02'>four</rule>"
                             "</rules></c>")));
  const auto rule = document.selectSingleNode(L"/c/rules/rule[@id='2']");
  ASSERT_TRUE(rule.has_value());
  EXPECT_EQ(rule->text(), L"twoab");
  EXPECT_EQ(rule->selectSingleNode(L"x").value().text(), L"a");
  EXPECT_FALSE(rule->selectSingleNode(L"y").has_value());
  EXPECT_FALSE(rule->selectSingleNode(L"rule").has_value());
  EXPECT_FALSE(document.selectSingleNode(L"/c/rules/rule[@id='3']").has_value());
  EXPECT_FALSE(document.selectSingleNode(L"/c/rules/rule[@id=' 2']").has_value());
  EXPECT_FALSE(document.selectSingleNode(L"/rules").has_value());
}

TEST(PlatformXml, DistinguishesUpperAndLowerCase) {
  XmlDocument document = newDocument();
  ASSERT_TRUE(document.parse(bytesOf("<Config><rules/></Config>")));
  EXPECT_FALSE(document.selectSingleNode(L"/config").has_value());
  EXPECT_FALSE(document.selectSingleNode(L"/Config/Rules").has_value());
  EXPECT_TRUE(document.selectSingleNode(L"/Config/rules").has_value());
}

TEST(PlatformXml, SelectsNothingInANamespaceByABareName) {
  XmlDocument document = newDocument();
  ASSERT_TRUE(document.parse(bytesOf("<r xmlns='urn:a'/>")));
  EXPECT_FALSE(document.selectSingleNode(L"/r").has_value());
}

TEST(PlatformXml, SelectsNothingByAPathThatIsNone) {
  XmlDocument document = newDocument();
  EXPECT_FALSE(document.selectSingleNode(L"/r").has_value());
  ASSERT_TRUE(document.parse(bytesOf("<r a='1'>text</r>")));
  EXPECT_FALSE(document.selectSingleNode(L"/r[").has_value());
  EXPECT_FALSE(document.selectSingleNode(L"").has_value());
  EXPECT_FALSE(document.selectSingleNode(L"/r/@a").has_value());
  EXPECT_FALSE(document.selectSingleNode(L"/r/text()").has_value());
}

// A document element "r" with one child "c" that holds `text`.
std::optional<std::string> printedWithText(const std::wstring& text) {
  XmlDocument document = newDocument();
  auto root = document.createElement(L"r");
  EXPECT_TRUE(document.appendChild(*root));
  auto child = document.createElement(L"c");
  EXPECT_TRUE(child->setText(text));
  EXPECT_TRUE(root->appendChild(*child));
  return printed(document);
}

TEST(PlatformXml, PrintsNoDeclarationAndNoBlankOfItsOwn) {
  EXPECT_EQ(printedWithText(L"127.0.0.1"), "<r><c>127.0.0.1</c></r>\n");
  EXPECT_EQ(printedWithText(L" \t\n a "), "<r><c> \t\n a </c></r>\n");
}

TEST(PlatformXml, PrintsAnElementWithoutContentAsOneTag) {
  EXPECT_EQ(printedWithText(L""), "<r><c/></r>\n");
}

TEST(PlatformXml, PrintsUtf8AndEscapesMarkup) {
  EXPECT_EQ(printedWithText(L"\u00e9\u20ac\U0001F600"),
            "<r><c>\xC3\xA9\xE2\x82\xAC\xF0\x9F\x98\x80</c></r>\n");
  EXPECT_EQ(printedWithText(L"a<b>&c]]>&amp;"), "<r><c>a&lt;b&gt;&amp;c]]&gt;&amp;amp;</c></r>\n");
}

TEST(PlatformXml, PrintsAttributes) {
  XmlDocument document = newDocument();
  auto root = document.createElement(L"r");
  ASSERT_TRUE(document.appendChild(*root));
  EXPECT_TRUE(root->setAttribute(L"id", L"10"));
  EXPECT_EQ(printed(document), "<r id=\"10\"/>\n");
  EXPECT_TRUE(root->setAttribute(L"id", L"<\"&'\u20ac>"));
  EXPECT_EQ(printed(document), "<r id=\"&lt;&quot;&amp;'\xE2\x82\xAC&gt;\"/>\n");
}

TEST(PlatformXml, KeepsTheOrderInWhichElementsAreAppended) {
  XmlDocument document = newDocument();
  auto root = document.createElement(L"config");
  ASSERT_TRUE(document.appendChild(*root));
  auto rules = document.createElement(L"rules");
  for (const wchar_t* text : {L"1", L"2"}) {
    auto rule = document.createElement(L"rule");
    for (const wchar_t* name : {L"enabled", L"proto"}) {
      auto field = document.createElement(name);
      EXPECT_TRUE(field->setText(text));
      EXPECT_TRUE(rule->appendChild(*field));
    }
    EXPECT_TRUE(rules->appendChild(*rule));
  }
  EXPECT_TRUE(root->appendChild(*rules));
  EXPECT_EQ(printed(document),
            "<config><rules><rule><enabled>1</enabled><proto>1</proto></rule>"
            "<rule><enabled>2</enabled><proto>2</proto></rule></rules></config>\n");
}

TEST(PlatformXml, ReplacesTheWholeContentByAText) {
  XmlDocument document = newDocument();
  ASSERT_TRUE(document.parse(bytesOf("<r>a<b>c</b></r>")));
  auto root = document.selectSingleNode(L"/r");
  EXPECT_TRUE(root->setText(L"new"));
  EXPECT_EQ(root->text(), L"new");
  EXPECT_EQ(printed(document), "<r>new</r>\n");
  EXPECT_TRUE(root->setText(L""));
  EXPECT_EQ(root->text(), L"");
}

TEST(PlatformXml, LeavesOutElementsThatWereNeverAppended) {
  XmlDocument document = newDocument();
  auto root = document.createElement(L"r");
  auto loose = document.createElement(L"loose");
  EXPECT_TRUE(loose->setText(L"text"));
  EXPECT_EQ(printed(document), std::nullopt);
  EXPECT_TRUE(document.appendChild(*root));
  EXPECT_EQ(printed(document), "<r/>\n");
  EXPECT_FALSE(document.selectSingleNode(L"/loose").has_value());
  EXPECT_FALSE(document.selectSingleNode(L"//loose").has_value());
}

TEST(PlatformXml, TakesOneDocumentElement) {
  XmlDocument document = newDocument();
  EXPECT_TRUE(document.appendChild(*document.createElement(L"first")));
  EXPECT_FALSE(document.appendChild(*document.createElement(L"second")));
  EXPECT_EQ(printed(document), "<first/>\n");
  EXPECT_FALSE(document.createElement(L"").has_value());
}

TEST(PlatformXml, ReadsBackWhatItPrints) {
  for (const wchar_t* text : {L"plain", L"<&>\"'", L" blanks ", L"\u00e9\u20ac\U0001F600",
                              L"a\r\nb", L"\r", L"tab\t", L"]]>", L""}) {
    XmlDocument document = newDocument();
    ASSERT_TRUE(document.parse(bytesOf(printedWithText(text).value())));
    EXPECT_EQ(document.selectSingleNode(L"/r/c").value().text(), text);
  }
}

TEST(PlatformXml, StaysWholeWhenItIsMoved) {
  XmlDocument first = newDocument();
  ASSERT_TRUE(first.parse(bytesOf("<r>text</r>")));
  XmlDocument second(std::move(first));
  auto root = second.selectSingleNode(L"/r");
  auto moved = std::move(root);
  EXPECT_EQ(moved->text(), L"text");
  first = newDocument();
  second = std::move(first);
  EXPECT_FALSE(second.selectSingleNode(L"/r").has_value());
}

TEST(PlatformXml, OpensNoFileThatADocumentNames) {
  const test::TempFolder folder;
  const auto path = folder.file(L"secret");
  test::writeFile(path, "secret");
  const std::string url = "file:///" + test::pathOf(path).generic_string();
  for (const std::string& xml : {"<!DOCTYPE r [<!ENTITY e SYSTEM '" + url + "'>]><r>&e;</r>",
                                 "<!DOCTYPE r [<!ENTITY % p SYSTEM '" + url + "'> %p;]><r>a</r>",
                                 "<!DOCTYPE r SYSTEM '" + url + "'><r>b</r>",
                                 "<r xmlns:x='http://www.w3.org/2001/XInclude'><x:include href='" +
                                     url + "' parse='text'/></r>"}) {
    const auto text = rootTextOf(xml);
    EXPECT_EQ(text.value_or(L"").find(L"secret"), std::wstring::npos) << xml;
  }
}

TEST(PlatformXml, ConnectsToNoServerThatADocumentNames) {
  const Socket listener = test::listenOnLoopback();
  const std::string url = "http://127.0.0.1:" + std::to_string(test::localPort(listener)) + "/x";
  for (const std::string& xml : {"<!DOCTYPE r [<!ENTITY e SYSTEM '" + url + "'>]><r>&e;</r>",
                                 "<!DOCTYPE r [<!ENTITY % p SYSTEM '" + url + "'> %p;]><r>a</r>",
                                 "<!DOCTYPE r SYSTEM '" + url + "'><r>b</r>"}) {
    static_cast<void>(rootTextOf(xml));
    EXPECT_TRUE(test::staysQuiet(listener)) << xml;
  }
}

}  // namespace
}  // namespace quillgate::platform
