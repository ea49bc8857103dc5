#include "tests/faults/program_life.h"

#include <gmock/gmock.h>

#include <algorithm>

#include "tests/faults/fault_layer.h"

namespace quillgate::test {

void ProgramLife::configure(const RuleSet& rules) {
  config_.makeDataFolder();
  config_.load();
  config_.save(RuleSet{});
  config_.save(rules);
  config_.load();
}

void ProgramLife::startWithBadFile() {
  config_.makeDataFolder();
  config_.startWithBadFile();
}

void ProgramLife::forward() {
  engine_.state().rules.replace(relay_.rules());
  relay_.start();
  RelaySession early = relay_.openSession("early");
  RelaySession late = relay_.openSession("late");
  relay_.exchange(early);
  relay_.exchange(late);
  relay_.exchangeDatagrams("first");
  relay_.exchangeDatagrams("second");
  relay_.closeSession(early);
  relay_.exportRecords(folder_.file(L"records.txt"));
  relay_.stop();
  relay_.exchange(late);
  relay_.closeSession(late);
  relay_.expectEvents();
}

void ProgramLife::end() {
  EXPECT_THAT(engine_.messages(), testing::UnorderedElementsAreArray(lines_));
  checkLogFile();
}

void ProgramLife::checkLogFile() {
  const std::wstring& path = engine_.state().paths.logPath;
  const std::string name = pathOf(path).string();
  const FaultHits hits = faultHits();
  const auto lost = static_cast<std::size_t>(hits.on("open", name) + hits.on("write", name));
  const std::string content = contentOf(path).value_or("");
  const auto written = static_cast<std::size_t>(std::ranges::count(content, '\n'));
  EXPECT_EQ(written, config_.hasDataFolder() ? engine_.messages().size() - lost : 0U);

  asProgram([&] { engine_.state().log.clear(); });
  EXPECT_EQ(contentOf(path).has_value(), written > 0 && faultHits().on("unlink", name) > 0);
}

}  // namespace quillgate::test
