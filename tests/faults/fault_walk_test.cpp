// Every call that the program makes of the system and of the XML library fails, each in a run of
// its own: once, and in another run from there on for ever.
#include <gtest/gtest.h>

#include <iterator>
#include <optional>
#include <set>
#include <sstream>
#include <string>

#include "tests/faults/fault_layer.h"
#include "tests/faults/program_life.h"
#include "tests/support/process_resources.h"

namespace quillgate::test {
namespace {

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

// A life with a server.
void forwarding() {
  ProgramLife life;
  life.configure(life.relayRules());
  life.forward();
  life.end();
}

// A life that ends before the server starts.
void configuring() {
  ProgramLife life;
  life.configure(someRules());
  life.end();
}

// A life that begins with a rule file that does not load.
void settingAside() {
  ProgramLife life;
  life.startWithBadFile();
  life.end();
}

// Nothing of a life may be left.
void liveOnce(void (*life)(), const std::optional<Fault>& fault, Weather weather = Weather::fair) {
  const ProcessResources before = processResources();
  startFaults(fault, weather);
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
        if (nth > 1 && kCallsByTime.contains(call) && faultHits().all() == 0) break;
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

// A wrapper that the program no longer calls has lost what it was made for.
TEST_F(FaultWalk, CallsEveryWrapper) {
  std::set<std::string> names;
  for (const Weather weather : {Weather::fair, Weather::interrupted}) {
    liveOnce(forwarding, std::nullopt, weather);
    // The name of some calls has the transport behind it.
    for (const auto& [call, count] : callCounts()) names.insert(call.substr(0, call.find(' ')));
  }
  std::istringstream wrapped(QUILLGATE_WRAPPED_CALLS);
  EXPECT_EQ(names, (std::set<std::string>{std::istream_iterator<std::string>(wrapped), {}}));
}

TEST_F(FaultWalk, SurvivesEveryFailedCallOfTheXmlLibrary) { walk(configuring, isOfXml); }

TEST_F(FaultWalk, SurvivesEveryFailedCallOfTheSystem) {
  walk(forwarding,
       [](const std::string& call) { return !isOfXml(call) && !kFatalCalls.contains(call); });
}

TEST_F(FaultWalk, LosesNoBadRuleFileToAFailedCall) {
  walk(settingAside, [](const std::string& call) { return !isOfXml(call); });
}

}  // namespace
}  // namespace quillgate::test
