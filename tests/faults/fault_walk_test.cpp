// Every call that the program makes of the system and of the XML library fails, each in a run of
// its own: once, and in another run from there on for ever.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "tests/faults/config_steps.h"
#include "tests/faults/fault_layer.h"
#include "tests/faults/relay_steps.h"
#include "tests/support/posix/process_resources.h"
#include "tests/support/temp_folder.h"

namespace quillgate::test {
namespace {

using Lines = std::vector<std::wstring>;

// How often a call is made depends on time: there may be fewer of them than in the recorded run.
const std::set<std::string> kCallsByTime{"poll", "recvfrom", "accept4"};
// Whose failure the program has no answer to but its end (thread_fault_test.cpp).
const std::set<std::string> kFatalCalls{"pthread_create"};

RuleSet someRules() {
  RuleSet rules;
  for (std::size_t i = 0; i < rules.size(); ++i) {
    rules[i] =
        ruleFor(i % 2 == 0 ? Protocol::tcp : Protocol::udp, static_cast<std::uint16_t>(1000 + i),
                static_cast<std::uint16_t>(2000 + i), L"192.0.2." + std::to_wstring(i));
  }
  return rules;
}

// One life of the program in a folder of its own.
class Life {
 public:
  // The first start finds no rule file; a later one finds what the program has written.
  void configure(const RuleSet& rules) {
    config_.makeDataFolder();
    config_.load();
    config_.save(RuleSet{});
    config_.save(rules);
    config_.load();
  }

  void forward() {
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

  // Everything was said, and the log's file has what could be written to it.
  void end() {
    EXPECT_THAT(engine_.messages(), testing::UnorderedElementsAreArray(lines_));
    checkLogFile();
  }

  [[nodiscard]] RuleSet relayRules() const { return relay_.rules(); }

 private:
  void checkLogFile() {
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

  const TempFolder folder_;
  TestEngine engine_;
  Lines lines_;
  ConfigSteps config_{engine_, folder_.file(L"data"), lines_};
  RelaySteps relay_{engine_, lines_};
};

// A whole life with a server.
void forwarding() {
  Life life;
  life.configure(life.relayRules());
  life.forward();
  life.end();
}

// A life that ends before the server starts.
void configuring() {
  Life life;
  life.configure(someRules());
  life.end();
}

// Nothing of a life may be left.
void liveOnce(void (*life)(), const std::optional<Fault>& fault) {
  const ProcessResources before = processResources();
  startFaults(fault);
  life();
  expectNoMoreThan(before);
}

// Lets each call of the names that `isMeant` chooses fail in turn, once and for ever.
void walk(void (*life)(), bool (*isMeant)(const std::string& call)) {
  liveOnce(life, std::nullopt);
  const auto calls = callCounts();
  ASSERT_FALSE(testing::Test::HasFailure());
  int runs = 0;
  for (const auto& [call, count] : calls) {
    if (!isMeant(call)) continue;
    for (const bool forEver : {false, true}) {
      for (int nth = 1; nth <= count; ++nth) {
        SCOPED_TRACE(call + " number " + std::to_string(nth) + (forEver ? " for ever" : " once"));
        liveOnce(life, Fault{call, nth, forEver});
        ++runs;
        if (kCallsByTime.contains(call) && faultHits().all() == 0) break;
        ASSERT_GT(faultHits().all(), 0) << "the call was not made";
        ASSERT_FALSE(testing::Test::HasFailure());
      }
    }
    testing::Test::RecordProperty("calls_of_" + call, count);
  }
  testing::Test::RecordProperty("runs", runs);
}

bool isOfXml(const std::string& call) { return call.starts_with("xml"); }

class FaultWalk : public testing::Test {
 protected:
  void TearDown() override { startFaults(std::nullopt); }
};

TEST_F(FaultWalk, SurvivesEveryFailedCallOfTheXmlLibrary) { walk(configuring, isOfXml); }

TEST_F(FaultWalk, SurvivesEveryFailedCallOfTheSystem) {
  walk(forwarding,
       [](const std::string& call) { return !isOfXml(call) && !kFatalCalls.contains(call); });
}

}  // namespace
}  // namespace quillgate::test
