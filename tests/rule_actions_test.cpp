#include "ui/rule_actions.h"

#include <gmock/gmock.h>

#include <optional>

#include "config/config_file.h"
#include "tests/support/temp_folder.h"
#include "tests/support/test_engine.h"
#include "tests/support/test_sockets.h"

namespace quillgate {
namespace {

using testing::ElementsAre;

// Writes down what it is told, together with how far the log was then.
class FakeViews final : public RuleViews, public MonitorControls {
 public:
  explicit FakeViews(test::TestEngine& engine) : engine_(engine) {}

  void fillRuleGrid() override {
    note(L"grid");
    rulesAtGrid = engine_.state().rules.snapshot();
  }
  void refreshStatusPanel() override { note(L"status"); }
  MonitorControls* monitorControls() override { return monitorOpen ? this : nullptr; }

  void fillFilterList(const std::vector<FilterEntry>& newEntries, std::size_t selected) override {
    note(L"filter list");
    entries = newEntries;
    if (selects) selection = entries.at(selected).value;
  }
  std::int32_t selectedFilter() const override { return selection; }
  void rebuildView() override {
    note(L"view");
    filterAtRebuild = engine_.state().monitor.filter();
  }

  bool monitorOpen = false;
  bool selects = true;  // whether the list takes the selection
  std::vector<FilterEntry> entries;
  std::int32_t selection = kFilterOff;
  std::optional<std::int32_t> filterAtRebuild;
  std::optional<RuleSet> rulesAtGrid;
  std::vector<std::wstring> calls;

 private:
  void note(const wchar_t* call) {
    const auto& messages = engine_.messages();
    calls.push_back(call + (messages.empty() ? L"" : L" after " + messages.back()));
  }

  test::TestEngine& engine_;
};

class RuleActions : public testing::Test {
 protected:
  RuleActions() {
    state.paths.configPath = folder.file(L"config.xml");
    rules[2] = {true, Protocol::udp, 5353, L"10.0.0.1", 53};
  }

  std::wstring configContent() {
    RuleSet found;
    return loadConfig(state.log, found, state.paths.configPath) && found == rules ? L"the rules"
                                                                                  : L"others";
  }

  test::TempFolder folder;
  test::TestEngine engine;
  SharedState& state = engine.state();
  FakeViews views{engine};
  RuleSet rules;
};

TEST_F(RuleActions, SavingMakesTheRulesLiveAndWritesThem) {
  saveRules(state, rules, views);
  EXPECT_EQ(state.rules.snapshot(), rules);
  EXPECT_EQ(configContent(), L"the rules");
}

TEST_F(RuleActions, SavingLeavesAStoppedServerStopped) {
  saveRules(state, rules, views);
  EXPECT_FALSE(state.server.isRunning());
  EXPECT_THAT(engine.messages(),
              ElementsAre(L"Saved XML: " + state.paths.configPath, L"Config saved and applied."));
  EXPECT_THAT(views.calls, ElementsAre(L"status after Config saved and applied."));
}

TEST_F(RuleActions, SavingRestartsARunningServer) {
  state.server.start();
  saveRules(state, RuleSet{}, views);
  EXPECT_TRUE(state.server.isRunning());
  EXPECT_THAT(engine.messages(),
              ElementsAre(L"Starting server...", L"Server started.",
                          L"Saved XML: " + state.paths.configPath, L"Stopping server...",
                          L"Server stopped.", L"Starting server...", L"Server started.",
                          L"Config saved and applied."));
}

TEST_F(RuleActions, SavingGivesARestartedServerTheNewRules) {
  const std::uint16_t port = test::freePort(platform::Transport::tcp);
  rules[0] = test::ruleFor(Protocol::tcp, port, 9);
  state.server.start();
  saveRules(state, rules, views);
  EXPECT_TRUE(engine.waitFor(L"[TCP] Listening on local port " + std::to_wstring(port) +
                             L" -> 127.0.0.1:9"));
}

TEST_F(RuleActions, SavingAppliesTheRulesEvenWhenTheFileCannotBeWritten) {
  state.paths.configPath = folder.file(L"missing") + L"/config.xml";
  saveRules(state, rules, views);
  EXPECT_EQ(state.rules.snapshot(), rules);
  EXPECT_THAT(engine.messages(), ElementsAre(L"Failed to save XML: " + state.paths.configPath,
                                             L"Config saved and applied."));
}

TEST_F(RuleActions, SavingKeepsAFilterWhoseRuleIsStillEnabled) {
  views.monitorOpen = true;
  state.monitor.choose(2);
  saveRules(state, rules, views);
  EXPECT_EQ(views.entries, filterEntries(rules));
  EXPECT_EQ(views.selection, 2);
  EXPECT_EQ(state.monitor.filter(), 2);
  EXPECT_TRUE(state.monitor.isCapturing());
  EXPECT_EQ(views.filterAtRebuild, 2);
  EXPECT_THAT(views.calls, ElementsAre(L"status after Config saved and applied.",
                                       L"filter list after Config saved and applied.",
                                       L"view after Config saved and applied."));
}

TEST_F(RuleActions, SavingKeepsAllAndOff) {
  views.monitorOpen = true;
  state.monitor.choose(kFilterAll);
  saveRules(state, rules, views);
  EXPECT_EQ(state.monitor.filter(), kFilterAll);
  EXPECT_TRUE(state.monitor.isCapturing());

  state.monitor.choose(kFilterOff);
  saveRules(state, rules, views);
  EXPECT_EQ(state.monitor.filter(), kFilterOff);
  EXPECT_FALSE(state.monitor.isCapturing());
}

TEST_F(RuleActions, SavingSwitchesMonitoringOffWhenTheFiltersRuleIsDisabled) {
  views.monitorOpen = true;
  state.monitor.choose(7);
  saveRules(state, rules, views);
  EXPECT_EQ(views.selection, kFilterOff);
  EXPECT_EQ(state.monitor.filter(), kFilterOff);
  EXPECT_FALSE(state.monitor.isCapturing());
  EXPECT_EQ(views.filterAtRebuild, kFilterOff);
}

TEST_F(RuleActions, SavingSwitchesMonitoringOffWhenTheListSelectsNothing) {
  views.monitorOpen = true;
  views.selects = false;
  state.monitor.choose(kFilterAll);
  saveRules(state, rules, views);
  EXPECT_EQ(state.monitor.filter(), kFilterOff);
  EXPECT_FALSE(state.monitor.isCapturing());
}

TEST_F(RuleActions, SavingLeavesCapturingAloneWhileTheMonitorIsClosed) {
  state.monitor.choose(7);
  saveRules(state, rules, views);
  EXPECT_EQ(state.monitor.filter(), 7);
  EXPECT_TRUE(state.monitor.isCapturing());
}

TEST_F(RuleActions, ExportingWritesAFileAndChangesNothingElse) {
  const std::wstring path = folder.file(L"export.xml");
  EXPECT_TRUE(exportRules(state, rules, path));
  EXPECT_THAT(engine.messages(),
              ElementsAre(L"Saved XML: " + path, L"Exported settings to: " + path));
  EXPECT_EQ(state.rules.snapshot(), RuleSet{});
  EXPECT_THAT(folder.names(), ElementsAre(L"export.xml"));
  EXPECT_TRUE(views.calls.empty());
}

TEST_F(RuleActions, ReportsAFailedExport) {
  const std::wstring path = folder.file(L"missing") + L"/export.xml";
  EXPECT_FALSE(exportRules(state, rules, path));
  EXPECT_THAT(engine.messages(),
              ElementsAre(L"Failed to save XML: " + path, L"Export failed: " + path));
}

TEST_F(RuleActions, ImportingAppliesTheRulesOfAFile) {
  const std::wstring path = folder.file(L"import.xml");
  saveConfig(state.log, rules, path);
  EXPECT_TRUE(importRules(state, path, views));
  EXPECT_EQ(state.rules.snapshot(), rules);
  EXPECT_THAT(engine.messages(),
              ElementsAre(L"Saved XML: " + path, L"Loaded XML successfully: " + path,
                          L"Saved XML: " + state.paths.configPath,
                          L"Imported config and restarted server sockets.",
                          L"Imported settings from: " + path));
  EXPECT_EQ(configContent(), L"the rules");
  EXPECT_THAT(views.calls,
              ElementsAre(L"grid after Loaded XML successfully: " + path,
                          L"status after Imported config and restarted server sockets."));
}

TEST_F(RuleActions, ImportingFillsTheEditorFromTheNewRules) {
  const std::wstring path = folder.file(L"import.xml");
  saveConfig(state.log, rules, path);
  EXPECT_TRUE(importRules(state, path, views));
  EXPECT_EQ(views.rulesAtGrid, rules);
}

TEST_F(RuleActions, ImportingRestartsARunningServer) {
  const std::wstring path = folder.file(L"import.xml");
  saveConfig(state.log, RuleSet{}, path);
  state.server.start();
  EXPECT_TRUE(importRules(state, path, views));
  EXPECT_TRUE(state.server.isRunning());
  EXPECT_EQ(engine.countOf(L"Server started."), 2U);
}

TEST_F(RuleActions, AFailedImportChangesNothing) {
  const std::wstring path = folder.file(L"import.xml");
  test::writeFile(path, "<config><rules>");
  state.rules.replace(rules);
  EXPECT_FALSE(importRules(state, path, views));
  EXPECT_EQ(state.rules.snapshot(), rules);
  EXPECT_THAT(engine.messages(),
              ElementsAre(L"Failed to load XML (parse error) -> defaults used. Path=" + path));
  EXPECT_THAT(folder.names(), ElementsAre(L"import.xml"));
  EXPECT_TRUE(views.calls.empty());
}

}  // namespace
}  // namespace quillgate
