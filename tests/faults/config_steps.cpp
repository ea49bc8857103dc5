#include "tests/faults/config_steps.h"

#include <gmock/gmock.h>
#include <stdlib.h>

#include <algorithm>
#include <filesystem>

#include "config/config_file.h"
#include "tests/support/temp_folder.h"

namespace quillgate::test {
namespace {

using Calls = std::initializer_list<const char*>;

const std::string kBeside = ".quillgate-new";
// A failure of these costs a child that a rule can do without, or a rule.
constexpr Calls kMakingOfElements{"xmlNewDocNode", "xmlAddChild"};

std::string bytesOf(const std::wstring& path) { return pathOf(path).string(); }

// What the file must hold byte for byte, and what it means; without faults.
std::string fileOf(const RuleSet& rules) {
  const TempFolder folder;
  TestEngine engine;
  EXPECT_TRUE(saveConfig(engine.state().log, rules, folder.file(L"rules.xml")));
  return contentOf(folder.file(L"rules.xml")).value_or("");
}

RuleSet rulesIn(const std::wstring& path) {
  TestEngine engine;
  RuleSet rules;
  EXPECT_TRUE(loadConfig(engine.state().log, rules, path));
  return rules;
}

// Whether each value is the one given or, because the library lost it, the default.
void expectGivenOrDefault(const RuleSet& rules, const RuleSet& given) {
  const ForwardRule none;
  for (std::size_t i = 0; i < rules.size(); ++i) {
    const auto check = [&](auto member) {
      EXPECT_THAT(rules[i].*member, testing::AnyOf(given[i].*member, none.*member)) << "rule " << i;
    };
    check(&ForwardRule::enabled);
    check(&ForwardRule::proto);
    check(&ForwardRule::localPort);
    check(&ForwardRule::targetIp);
    check(&ForwardRule::targetPort);
  }
}

bool anyOf(const FaultHits& hits, Calls calls) {
  return std::ranges::any_of(calls, [&](const char* call) { return hits.of(call) > 0; });
}

bool anyOn(const FaultHits& hits, Calls calls, const std::string& object) {
  return std::ranges::any_of(calls, [&](const char* call) { return hits.on(call, object) > 0; });
}

}  // namespace

void ConfigSteps::makeDataFolder() {
  ::setenv("XDG_DATA_HOME", bytesOf(dataHome_).c_str(), 1);
  asProgram([&] { prepareDataFolder(engine_.state()); });
  hasDataFolder_ = std::filesystem::is_directory(pathOf(engine_.state().paths.baseDir));
  EXPECT_TRUE(hasDataFolder_ || anyOf(faultHits(), {"mkdir", "stat"}));
}

void ConfigSteps::startWithBadFile() {
  if (!hasDataFolder_) return;
  const std::wstring& path = engine_.state().paths.configPath;
  const std::string bad = "<config><rules>";
  writeFile(path, bad);
  const FaultHits before = faultHits();
  asProgram([&] { loadRules(engine_.state()); });
  const FaultHits hits = faultHits().since(before);
  const Lines lines = engine_.messages();
  ASSERT_EQ(lines.size(), expected_.size() + 2);
  expected_ = lines;
  if (hits.all() == 0) {
    EXPECT_EQ(lines[0], L"Failed to load XML (parse error) -> defaults used. Path=" + path);
    EXPECT_EQ(lines[1], L"Saved XML: " + path);
  }
  EXPECT_EQ(engine_.state().rules.snapshot(), RuleSet{});
  if (!lines.back().starts_with(L"Saved")) {
    EXPECT_EQ(contentOf(path), bad);
    return;
  }
  EXPECT_EQ(rulesIn(path), RuleSet{});
  const std::wstring aside = path + L".bad";
  const Calls calls{"open",  "read",  "stat",      "lstat", "fstat",
                    "write", "lseek", "ftruncate", "fsync"};
  const bool mayBeLost = anyOn(hits, calls, bytesOf(path)) || anyOn(hits, calls, bytesOf(aside)) ||
                         anyOn(hits, calls, bytesOf(aside) + kBeside);
  EXPECT_TRUE(mayBeLost || contentOf(aside) == bad);
}

void ConfigSteps::load() {
  const FaultHits before = faultHits();
  RuleSet rules;
  const bool loaded = asProgram(
      [&] { return loadConfig(engine_.state().log, rules, engine_.state().paths.configPath); });
  engine_.state().rules.replace(rules);
  const FaultHits hits = faultHits().since(before);
  expectOneOf(linesAfterLoad(hits));
  EXPECT_EQ(loaded, expected_.back().starts_with(L"Loaded"));
  if (!loaded) {
    EXPECT_EQ(rules, RuleSet{});
  } else if (anyOf(hits, {"xmlXPathNewContext", "xmlXPathEvalExpression", "xmlNodeGetContent"})) {
    expectGivenOrDefault(rules, rulesOnDisk_);
  } else {
    EXPECT_EQ(rules, rulesOnDisk_);
  }
}

void ConfigSteps::save(const RuleSet& rules) {
  const FaultHits before = faultHits();
  engine_.state().rules.replace(rules);
  const bool saved = asProgram(
      [&] { return saveConfig(engine_.state().log, rules, engine_.state().paths.configPath); });
  const FaultHits hits = faultHits().since(before);
  expectOneOf(linesAfterSave(hits));
  EXPECT_EQ(saved, expected_.back().starts_with(L"Saved"));
  checkFileAfterSave(saved, hits, rules);
}

std::vector<std::wstring> ConfigSteps::linesAfterLoad(const FaultHits& hits) const {
  const std::wstring& path = engine_.state().paths.configPath;
  const std::wstring unparsed = L"Failed to load XML (parse error) -> defaults used. Path=" + path;
  const std::wstring loaded = L"Loaded XML successfully: " + path;
  if (!onDisk_ || hits.on("stat", bytesOf(path)) > 0) {
    return {L"XML not found -> using defaults. Path=" + path};
  }
  if (hits.of("xmlNewDoc") > 0) return {L"MSXML init failed."};
  if (hits.of("xmlNewDocFragment") > 0) return {L"MSXML init failed.", unparsed};
  if (anyOn(hits, {"open", "read"}, bytesOf(path)) ||
      anyOf(hits, {"xmlNewParserCtxt", "xmlCtxtReadMemory"})) {
    return {unparsed};
  }
  if (anyOf(hits, {"xmlXPathNewContext", "xmlXPathEvalExpression"})) {
    return {L"XML missing /config root -> defaults used. Path=" + path, loaded};
  }
  return {loaded};
}

std::vector<std::wstring> ConfigSteps::linesAfterSave(const FaultHits& hits) const {
  const std::wstring saved = L"Saved XML: " + engine_.state().paths.configPath;
  const std::wstring failed = L"Failed to save XML: " + engine_.state().paths.configPath;
  if (anyOf(hits, {"xmlNewDoc", "xmlNewDocFragment"})) return {L"MSXML init failed (save)."};
  // A child that cannot be made is left out; without a rule there is no file.
  if (anyOf(hits, kMakingOfElements)) return {saved, failed};
  if (anyOf(hits, {"xmlDocSetRootElement", "xmlSetProp", "xmlBufferCreate", "xmlSaveToBuffer",
                   "xmlSaveDoc", "xmlSaveClose"})) {
    return {failed};
  }
  return {mustFailToReplace(hits) ? failed : saved};
}

bool ConfigSteps::mustFailToReplace(const FaultHits& hits) const {
  const std::string path = bytesOf(engine_.state().paths.configPath);
  if (!hasDataFolder_ || anyOn(hits, {"stat", "open"}, path)) return true;
  // Without a file beside it, the file itself is written.
  return anyOn(hits, {"write", "lseek", "ftruncate", "fsync"}, path + kBeside);
}

void ConfigSteps::checkFileAfterSave(bool saved, const FaultHits& hits, const RuleSet& rules) {
  const std::wstring& path = engine_.state().paths.configPath;
  const auto content = contentOf(path);
  if (!saved) {
    EXPECT_EQ(content, onDisk_);
  } else if (anyOf(hits, kMakingOfElements) || anyOf(hits, {"xmlNodeAddContent"})) {
    onDisk_ = content;
    rulesOnDisk_ = rulesIn(path);
    expectGivenOrDefault(rulesOnDisk_, rules);
  } else {
    onDisk_ = fileOf(rules);
    rulesOnDisk_ = rules;
    EXPECT_EQ(content, onDisk_);
  }
  // The file beside it may be another's as long as the system does not say what it is.
  EXPECT_TRUE(anyOf(hits, {"lstat", "fstat"}) || !std::filesystem::exists(bytesOf(path) + kBeside));
}

void ConfigSteps::expectOneOf(const Lines& possible) {
  ASSERT_EQ(engine_.messages().size(), expected_.size() + 1);
  EXPECT_THAT(possible, testing::Contains(engine_.messages().back()));
  expected_.push_back(engine_.messages().back());
}

}  // namespace quillgate::test
