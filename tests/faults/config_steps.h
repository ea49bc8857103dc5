// The program's dealings with its data folder and its rule file, each with a check of what it
// leaves behind whatever call has failed meanwhile: the log's line, the rules, the file.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "tests/faults/fault_layer.h"
#include "tests/support/test_engine.h"

namespace quillgate::test {

class ConfigSteps {
 public:
  // The data folder is made in `dataHome`, which need not stand yet. The lines that must be logged
  // are added to `expected`.
  ConfigSteps(TestEngine& engine, std::wstring dataHome, std::vector<std::wstring>& expected)
      : engine_(engine), dataHome_(std::move(dataHome)), expected_(expected) {}

  void makeDataFolder();
  // A start with a rule file that does not load.
  void startWithBadFile();
  // The rule file into the rule table.
  void load();
  // `rules` into the rule table and the rule file.
  void save(const RuleSet& rules);

  [[nodiscard]] bool hasDataFolder() const { return hasDataFolder_; }

 private:
  using Lines = std::vector<std::wstring>;

  [[nodiscard]] Lines linesAfterLoad(const FaultHits& hits) const;
  [[nodiscard]] Lines linesAfterSave(const FaultHits& hits) const;
  [[nodiscard]] bool mustFailToReplace(const FaultHits& hits) const;
  void checkFileAfterSave(bool saved, const FaultHits& hits, const RuleSet& rules);
  void expectOneOf(const Lines& possible);

  TestEngine& engine_;
  const std::wstring dataHome_;
  Lines& expected_;
  bool hasDataFolder_ = false;
  std::optional<std::string> onDisk_;  // the rule file
  RuleSet rulesOnDisk_;
};

}  // namespace quillgate::test
