// One life of the program in a folder of its own, from its data folder to the stop of its server,
// that checks after each step what must hold whatever call has failed (fault_layer.h).
#pragma once

#include <string>
#include <vector>

#include "tests/faults/config_steps.h"
#include "tests/faults/relay_steps.h"
#include "tests/support/temp_folder.h"
#include "tests/support/test_engine.h"

namespace quillgate::test {

class ProgramLife {
 public:
  // The first start finds no rule file; a later one finds what the program has written.
  void configure(const RuleSet& rules);
  // The first start finds a rule file that does not load.
  void startWithBadFile();
  // Two sessions and a UDP client; one session ends after the server has stopped.
  void forward();
  // Everything was said, and the log's file has what could be written to it.
  void end();

  // What forward() needs.
  [[nodiscard]] RuleSet relayRules() const { return relay_.rules(); }

 private:
  void checkLogFile();

  const TempFolder folder_;
  TestEngine engine_;
  std::vector<std::wstring> lines_;  // that must have been logged
  ConfigSteps config_{engine_, folder_.file(L"data"), lines_};
  RelaySteps relay_{engine_, lines_};
};

}  // namespace quillgate::test
