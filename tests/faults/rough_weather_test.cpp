// Calls that succeed, but not at once or not with all that was asked of them: nothing may change.
#include <gtest/gtest.h>

#include <optional>

#include "tests/faults/fault_layer.h"
#include "tests/faults/program_life.h"

namespace quillgate::test {
namespace {

class RoughWeather : public testing::Test {
 protected:
  void TearDown() override { startFaults(std::nullopt); }

  static void live(Weather weather) {
    startFaults(std::nullopt, weather);
    ProgramLife life;
    life.configure(life.relayRules());
    life.forward();
    life.end();
    EXPECT_GT(disturbedCalls(), 100);
  }
};

TEST_F(RoughWeather, ChangesNothingWhenSignalsInterruptEverySecondCall) {
  live(Weather::interrupted);
}

TEST_F(RoughWeather, ChangesNothingWhenEveryCallMovesOneByte) { live(Weather::byteByByte); }

// The program receives more than it can send at once.
TEST_F(RoughWeather, ChangesNothingWhenEverySendTakesOneByte) { live(Weather::shortSends); }

}  // namespace
}  // namespace quillgate::test
