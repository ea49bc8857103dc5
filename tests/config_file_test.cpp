#include "config/config_file.h"

#include <gtest/gtest.h>

#include <chrono>
#include <random>
#include <string>

#include "platform/system.h"
#include "tests/support/temp_folder.h"
#include "tests/support/test_engine.h"
#include "tests/support/utf16.h"

namespace quillgate {
namespace {

using namespace std::string_literals;
using test::contentOf;
using test::FakeNotifier;
using test::TempFolder;
using test::writeFile;
using Lines = std::vector<std::wstring>;

const std::string kDefaultRule =
    "<enabled>0</enabled><proto>tcp</proto><localPort>0</localPort>"
    "<targetIp>127.0.0.1</targetIp><targetPort>0</targetPort></rule>";

std::string defaultFile() {
  std::string file = "<config><rules>";
  for (int id = 1; id <= 10; ++id)
    file += "<rule id=\"" + std::to_string(id) + "\">" + kDefaultRule;
  return file + "</rules></config>\n";
}

class ConfigFileTest : public testing::Test {
 protected:
  // What loading a file with this content gives.
  bool load(const std::string& content) {
    writeFile(folder.file(L"config.xml"), content);
    return loadAgain();
  }
  bool loadAgain() {
    rules.fill({true, Protocol::udp, 1, L"left over", 1});
    return loadConfig(log, rules, path);
  }
  // Loads a file with one rule, number 1, of these children, and returns that rule.
  ForwardRule loadRule(const std::string& children) {
    EXPECT_TRUE(load("<config><rules><rule id='1'>" + children + "</rule></rules></config>"));
    return rules[0];
  }
  bool save() { return saveConfig(log, rules, path); }
  Lines takeMessages() {
    Lines messages;
    for (const auto& line : log.takeNewLines()) messages.push_back(line.substr(25));
    return messages;
  }

  void expectRefused(const std::string& content) {
    EXPECT_FALSE(load(content));
    EXPECT_EQ(rules, RuleSet{});
    EXPECT_EQ(takeMessages(),
              Lines{L"Failed to load XML (parse error) -> defaults used. Path=" + path});
  }
  void expectRootless(const std::string& content) {
    EXPECT_FALSE(load(content));
    EXPECT_EQ(rules, RuleSet{});
    EXPECT_EQ(takeMessages(), Lines{L"XML missing /config root -> defaults used. Path=" + path});
  }
  void expectLoaded(const std::string& content) {
    EXPECT_TRUE(load(content));
    EXPECT_EQ(takeMessages(), Lines{L"Loaded XML successfully: " + path});
  }

  FakeNotifier notifier;
  EventLog log{notifier};
  TempFolder folder;
  const std::wstring path = folder.file(L"config.xml");
  RuleSet rules;
};

TEST_F(ConfigFileTest, GivesDefaultsAndOneLineWhenThereIsNoFile) {
  EXPECT_FALSE(loadAgain());
  EXPECT_EQ(rules, RuleSet{});
  EXPECT_EQ(takeMessages(), Lines{L"XML not found -> using defaults. Path=" + path});
}

TEST_F(ConfigFileTest, CannotParseAFolder) {
  EXPECT_FALSE(loadConfig(log, rules, folder.path()));
  EXPECT_EQ(rules, RuleSet{});
  EXPECT_EQ(takeMessages(),
            Lines{L"Failed to load XML (parse error) -> defaults used. Path=" + folder.path()});
}

TEST_F(ConfigFileTest, LoadsTenDefaultsFromAConfigWithoutRules) {
  for (const char* content : {"<config/>", "<config></config>", "<config><rules/></config>",
                              "<config>\r\n  <other/>\r\n</config>"}) {
    expectLoaded(content);
    EXPECT_EQ(rules, RuleSet{});
  }
}

TEST_F(ConfigFileTest, ReadsEveryFieldOfEveryRule) {
  std::string content = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\r\n<config>\r\n\t<rules>\r\n";
  for (int id = 10; id >= 1; --id) {
    const std::string n = std::to_string(id);
    content += "<rule id='" + n + "'><targetPort> 20" + n + " </targetPort><targetIp>\n host" + n +
               "\t</targetIp><localPort>10" + n + "</localPort><proto>" +
               (id % 2 == 0 ? "udp" : "tcp") + "</proto><enabled>1</enabled></rule>\r\n";
  }
  expectLoaded(content + "</rules>\r\n</config>\r\n");
  for (int id = 1; id <= 10; ++id) {
    const std::wstring n = std::to_wstring(id);
    EXPECT_EQ(rules[static_cast<std::size_t>(id - 1)],
              (ForwardRule{true, id % 2 == 0 ? Protocol::udp : Protocol::tcp,
                           static_cast<std::uint16_t>(std::stoi(L"10" + n)), L"host" + n,
                           static_cast<std::uint16_t>(std::stoi(L"20" + n))}));
  }
}

TEST_F(ConfigFileTest, EnablesARuleOnlyForOneAndTrue) {
  for (const char* text : {"1", " 1 ", "true", "TRUE", "True", " true ", "\r\n\ttrue\r\n"}) {
    EXPECT_TRUE(loadRule("<enabled>"s + text + "</enabled>").enabled) << text;
  }
  for (const char* text : {"", "0", "2", "01", "0x1", "yes", "on", "truee", "1 1",
                           "\xC2\xA0"
                           "1"}) {
    EXPECT_FALSE(loadRule("<enabled>"s + text + "</enabled>").enabled) << text;
  }
  EXPECT_FALSE(loadRule("").enabled);
}

TEST_F(ConfigFileTest, TakesEveryProtocolButUdpForTcp) {
  for (const char* text : {"udp", "UDP", "Udp", " udp\n"}) {
    EXPECT_EQ(loadRule("<proto>"s + text + "</proto>").proto, Protocol::udp) << text;
  }
  for (const char* text : {"tcp", "TCP", "icmp", "", "1", "ud p"}) {
    EXPECT_EQ(loadRule("<proto>"s + text + "</proto>").proto, Protocol::tcp) << text;
  }
  EXPECT_EQ(loadRule("").proto, Protocol::tcp);
}

TEST_F(ConfigFileTest, MovesPortsIntoTheirRange) {
  const std::vector<std::pair<std::string, int>> cases = {{"8080", 8080},
                                                          {" 8080\n", 8080},
                                                          {"70000", 65535},
                                                          {"65535", 65535},
                                                          {"-5", 0},
                                                          {"80abc", 80},
                                                          {"abc", 0},
                                                          {"", 0},
                                                          {"+7", 7},
                                                          {"007", 7},
                                                          {"0x50", 0},
                                                          {"99999999999999999999", 65535},
                                                          {"-99999999999999999999", 0}};
  for (const auto& [text, port] : cases) {
    EXPECT_EQ(loadRule("<localPort>" + text + "</localPort>").localPort, port) << text;
    EXPECT_EQ(loadRule("<targetPort>" + text + "</targetPort>").targetPort, port) << text;
  }
  EXPECT_EQ(loadRule("").localPort, 0);
  EXPECT_EQ(loadRule("").targetPort, 0);
}

TEST_F(ConfigFileTest, TakesATargetAsItIsExceptForBlanksAroundIt) {
  const auto target = [&](const std::string& text) {
    return loadRule("<targetIp>" + text + "</targetIp>").targetIp;
  };
  EXPECT_EQ(target(" 10.0.0.1\t"), L"10.0.0.1");
  EXPECT_EQ(target("not an address"), L"not an address");
  EXPECT_EQ(target("\xC3\xA9\xE2\x82\xAC"), L"\u00E9\u20AC");
  EXPECT_EQ(target("a&lt;b&amp;c&#x41;"), L"a<b&cA");
  EXPECT_EQ(target("a<![CDATA[<b>]]>c"), L"a<b>c");
  EXPECT_EQ(target("a<!-- not this -->b"), L"ab");
  EXPECT_EQ(target(" \r\n\t"), L"127.0.0.1");
  EXPECT_EQ(target(""), L"127.0.0.1");
  EXPECT_EQ(loadRule("").targetIp, L"127.0.0.1");
}

TEST_F(ConfigFileTest, CountsOnlyTheFirstRuleOfAnId) {
  expectLoaded(
      "<config><rules><rule id='3'><localPort>1</localPort></rule>"
      "<rule id='3'><localPort>2</localPort></rule></rules></config>");
  EXPECT_EQ(rules[2].localPort, 1);
}

TEST_F(ConfigFileTest, CountsOnlyTheFirstChildOfAName) {
  EXPECT_EQ(loadRule("<localPort>1</localPort><localPort>2</localPort>").localPort, 1);
}

TEST_F(ConfigFileTest, IgnoresRulesWithOtherIds) {
  for (const char* id : {"11", "0", "-1", "01", " 1", "1 ", "1.0", "", "one"}) {
    expectLoaded("<config><rules><rule id='"s + id +
                 "'><localPort>1</localPort></rule></rules></config>");
    EXPECT_EQ(rules, RuleSet{}) << id;
  }
}

TEST_F(ConfigFileTest, IgnoresRulesInOtherPlaces) {
  expectLoaded(
      "<config><rule id='1'><localPort>1</localPort></rule>"
      "<more><rules><rule id='2'><localPort>1</localPort></rule></rules></more>"
      "<rules><group><rule id='3'><localPort>1</localPort></rule></group>"
      "<Rule id='4'><localPort>1</localPort></Rule>"
      "<rule ID='5'><localPort>1</localPort></rule>"
      "<rule id='6' localPort='1'/></rules></config>");
  EXPECT_EQ(rules, RuleSet{});
}

TEST_F(ConfigFileTest, FindsRulesInASecondListOfRules) {
  expectLoaded(
      "<config><rules/><rules><rule id='1'><localPort>7</localPort></rule></rules></config>");
  EXPECT_EQ(rules[0].localPort, 7);
}

TEST_F(ConfigFileTest, NeedsTheDocumentElementConfig) {
  expectRootless("<Config><rules/></Config>");
  expectRootless("<other><config/></other>");
  expectRootless("<config xmlns='urn:other'/>");
  expectRootless("<p:config xmlns:p='urn:other'/>");
}

TEST_F(ConfigFileTest, ReadsUtf16AndLatin1AndMarks) {
  const auto withTarget = [](const std::u16string& target) {
    return u"<config><rules><rule id='1'><targetIp>" + target +
           u"</targetIp></rule></rules></config>";
  };
  expectLoaded(test::markedUtf16(withTarget(u"\u00E9\u20AC"), true));
  EXPECT_EQ(rules[0].targetIp, L"\u00E9\u20AC");
  expectLoaded(
      test::markedUtf16(u"<?xml version='1.0' encoding='UTF-16'?>" + withTarget(u"\u4E00"), false));
  EXPECT_EQ(rules[0].targetIp, L"\u4E00");
  expectLoaded(
      "<?xml version='1.0' encoding='ISO-8859-1'?><config><rules><rule id='1'><targetIp>"
      "\xE9</targetIp></rule></rules></config>");
  EXPECT_EQ(rules[0].targetIp, L"\u00E9");
  expectLoaded("\xEF\xBB\xBF<config/>");
}

TEST_F(ConfigFileTest, ReadsAnEncodingInWhichCharactersEndInAsciiBytes) {
  expectLoaded(
      "<?xml version='1.0' encoding='GBK'?><config><rules><rule id='1'><targetIp>"
      "\xC4\xE3\x81]</targetIp></rule></rules></config>");
  EXPECT_EQ(rules[0].targetIp, L"\u4F60\u4E5A");
}

TEST_F(ConfigFileTest, ReadsCharactersBeyondSixteenBits) {
  const std::wstring target = loadRule("<targetIp>\xF0\x9F\x98\x80</targetIp>").targetIp;
  EXPECT_EQ(target, L"\U0001F600");
}

TEST_F(ConfigFileTest, RefusesWhatIsNotOneCompleteDocument) {
  for (const std::string& content : {""s,
                                     " \r\n"s,
                                     "junk"s,
                                     "<config>"s,
                                     "<config></config"s,
                                     "<config></"s,
                                     "<config></conf"s,
                                     "<config><rules></config>"s,
                                     "<config></Config>"s,
                                     "<config/>junk"s,
                                     "<config/><config/>"s,
                                     "<config/>\0"s,
                                     "<config/>\0\0\0\0"s,
                                     "<config/>\0junk<"s,
                                     "<config>\0</config>"s,
                                     "<config>&undefined;</config>"s,
                                     "<config>a & b</config>"s,
                                     "<config a='1' a='2'/>"s,
                                     "<config>&#1;</config>"s,
                                     "<config>\x01</config>"s,
                                     "<config>\xC3\x28</config>"s,
                                     "<config>]]></config>"s,
                                     "<config a='<'/>"s,
                                     "<config a=1/>"s,
                                     "  <?xml version='1.0'?><config/>"s,
                                     "<?xml version='1.0' encoding='x-none'?><config/>"s,
                                     "<?xml version='1.0' encoding='UTF-16'?><config/>"s}) {
    expectRefused(content);
  }
}

TEST_F(ConfigFileTest, RefusesEveryCutOfItsOwnFile) {
  ASSERT_TRUE(save());
  const std::string whole = contentOf(folder.file(L"config.xml")).value();
  static_cast<void>(takeMessages());
  for (std::size_t length = 0; length + 1 < whole.size(); length += 7) {
    expectRefused(whole.substr(0, length));
  }
  expectRefused(whole.substr(0, whole.size() - 2));
  expectLoaded(whole.substr(0, whole.size() - 1));  // all but the line feed at its end
}

TEST_F(ConfigFileTest, OpensNothingOutsideTheFile) {
  writeFile(folder.file(L"outside.dtd"), "<!ENTITY secret 'read'>");
  writeFile(folder.file(L"outside.txt"), "read");
  const std::string root =
      "<config><rules><rule id='1'><targetIp>&secret;</targetIp></rule></rules></config>";
  expectRefused("<!DOCTYPE config SYSTEM 'outside.dtd'>" + root);
  expectRefused("<!DOCTYPE config [<!ENTITY secret SYSTEM 'outside.txt'>]>" + root);
  expectRefused("<!DOCTYPE config [<!ENTITY secret 'inside'>]>" + root);
}

TEST_F(ConfigFileTest, EndsAnEntityBombWithinASecond) {
  std::string bomb = "<!DOCTYPE config [<!ENTITY a0 'aaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaa'>";
  for (int i = 1; i < 30; ++i) {
    const std::string inner = "&a" + std::to_string(i - 1) + ";";
    bomb += "<!ENTITY a" + std::to_string(i) + " '" + inner + inner + inner + inner + "'>";
  }
  const auto start = std::chrono::steady_clock::now();
  expectRefused(bomb + "]><config>&a29;</config>");
  EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(1));
}

TEST_F(ConfigFileTest, RefusesFiftyMegabytesOfJunk) {
  std::string junk(50'000'000, '\0');
  std::minstd_rand random(1);
  for (char& c : junk) c = static_cast<char>(random());
  expectRefused(junk);
  std::string markup = "<config>";
  while (markup.size() < 50'000'000) markup += "<a b='c'>";
  expectRefused(markup);
}

TEST_F(ConfigFileTest, ReadsAFileOfTheLargestSizeAndNoLarger) {
  const std::string start = "<config><rules><rule id='1'><localPort>7</localPort></rule></rules>";
  const std::string end = "</config>";
  const std::string blanks(kMaxConfigFileBytes - start.size() - end.size(), ' ');
  expectLoaded(start + blanks + end);
  EXPECT_EQ(rules[0].localPort, 7);
  expectRefused(start + blanks + " " + end);
}

TEST_F(ConfigFileTest, RefusesElementsNestedTooDeep) {
  std::string deep;
  for (int i = 0; i < 100000; ++i) deep += "<a>";
  for (int i = 0; i < 100000; ++i) deep += "</a>";
  expectRefused("<config>" + deep + "</config>");
}

TEST_F(ConfigFileTest, ReadsElementsNestedADozenDeep) {
  std::string deep;
  for (int i = 0; i < 12; ++i) deep = "<a>" + deep + "</a>";
  expectLoaded("<config>" + deep +
               "<rules><rule id='2'><localPort>7</localPort></rule></rules></config>");
  EXPECT_EQ(rules[1].localPort, 7);
}

TEST_F(ConfigFileTest, WritesTheTenRulesWithoutABlankBetweenThem) {
  EXPECT_TRUE(save());
  EXPECT_EQ(takeMessages(), Lines{L"Saved XML: " + path});
  EXPECT_EQ(contentOf(folder.file(L"config.xml")), defaultFile());
  EXPECT_EQ(folder.names(), std::vector<std::wstring>{L"config.xml"});
}

TEST_F(ConfigFileTest, WritesEveryFieldInItsForm) {
  rules[0] = {true, Protocol::udp, 65535, L"\u00E9<&>\"'", 1};
  EXPECT_TRUE(save());
  EXPECT_TRUE(
      contentOf(folder.file(L"config.xml"))
          .value()
          .starts_with("<config><rules><rule id=\"1\"><enabled>1</enabled><proto>udp</proto>"
                       "<localPort>65535</localPort><targetIp>\xC3\xA9&lt;&amp;&gt;\"'</targetIp>"
                       "<targetPort>1</targetPort></rule><rule id=\"2\">"));
}

TEST_F(ConfigFileTest, WritesAnyProtocolButTcpAsUdp) {
  rules[9].proto = static_cast<Protocol>(7);
  EXPECT_TRUE(save());
  EXPECT_TRUE(loadAgain());
  EXPECT_EQ(rules[9].proto, Protocol::udp);
}

TEST_F(ConfigFileTest, GivesBackWhatItSaved) {
  rules[0] = {true, Protocol::tcp, 8080, L"example.test", 80};
  rules[1] = {false, Protocol::udp, 65535, L"\u00E9\u4E00\U0001F600", 65535};
  rules[2] = {true, Protocol::udp, 1, L"a  b\tc\nd\re\r\nf", 1};
  rules[3] = {true, Protocol::tcp, 2, L"\u00A0x\u00A0", 2};
  rules[4] = {true, Protocol::tcp, 3, std::wstring(5000, L'x'), 3};
  rules[9] = {true, Protocol::tcp, 0, L"]]><![CDATA[&amp;<!--", 0};
  const RuleSet saved = rules;
  EXPECT_TRUE(save());
  EXPECT_TRUE(loadAgain());
  EXPECT_EQ(rules, saved);
}

TEST_F(ConfigFileTest, GivesBackAnEmptyTargetAsThisMachineAndAPaddedOneTrimmed) {
  rules[0].targetIp = L"";
  rules[1].targetIp = L" \t10.0.0.1\r\n";
  EXPECT_TRUE(save());
  EXPECT_TRUE(loadAgain());
  EXPECT_EQ(rules[0].targetIp, L"127.0.0.1");
  EXPECT_EQ(rules[1].targetIp, L"10.0.0.1");
}

TEST_F(ConfigFileTest, LeavesOutCharactersThatNoDocumentCanHold) {
  std::wstring target =
      L"a\x01"
      L"b\x1F"
      L"c\uFFFE"
      L"d\uFFFF"
      L"e";
  target += static_cast<wchar_t>(0xD83D);  // half of a pair
  target += L'f';
  target += static_cast<wchar_t>(0xDE00);
  target += L"\u007F\u0085\uFFFD";
  rules[0] = {true, Protocol::tcp, 1, target, 1};
  rules[1].localPort = 2;
  EXPECT_TRUE(save());
  EXPECT_TRUE(loadAgain());
  EXPECT_EQ(rules[0].targetIp, L"abcdef\u007F\u0085\uFFFD");
  EXPECT_EQ(rules[1].localPort, 2);
}

TEST_F(ConfigFileTest, ReplacesAFileThatCouldNotBeParsed) {
  EXPECT_FALSE(load("<config><rules>"));
  EXPECT_TRUE(save());
  EXPECT_EQ(contentOf(folder.file(L"config.xml")), defaultFile());
}

TEST_F(ConfigFileTest, ReportsASaveThatFailed) {
  const std::wstring nowhere = folder.file(L"missing") + platform::kPathSeparator + L"config.xml";
  EXPECT_FALSE(saveConfig(log, rules, nowhere));
  EXPECT_EQ(takeMessages(), Lines{L"Failed to save XML: " + nowhere});
  EXPECT_TRUE(folder.names().empty());
}

TEST_F(ConfigFileTest, GivesBackRandomRules) {
  std::minstd_rand random(20261121);
  const auto randomTarget = [&] {
    std::wstring text = L"x";
    for (std::size_t n = random() % 12; n > 0; --n) {
      text +=
          static_cast<wchar_t>(random() % 3 == 0 ? 0x20 + random() % 0xD7E0 : 0x20 + random() % 95);
    }
    return text + L"x";
  };
  for (int round = 0; round < 50; ++round) {
    for (ForwardRule& rule : rules) {
      rule = {random() % 2 == 0, random() % 2 == 0 ? Protocol::tcp : Protocol::udp,
              static_cast<std::uint16_t>(random()), randomTarget(),
              static_cast<std::uint16_t>(random())};
    }
    const RuleSet saved = rules;
    ASSERT_TRUE(save());
    ASSERT_TRUE(loadAgain());
    ASSERT_EQ(rules, saved);
  }
}

}  // namespace
}  // namespace quillgate
