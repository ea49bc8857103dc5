// System calls of the program that fail on purpose. The program of these tests is linked so that
// what platform/posix asks of the system and of the XML library by itself, not through the C++
// library, goes through wrappers (wrapped_*.cpp) that ask this layer first.
//
// Only calls of the program count and fail: those of the threads it has started, and those inside
// asProgram() on the thread of the test. Any thread may call anything here.
#pragma once

#include <cstddef>
#include <map>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace quillgate::test {

// The nth call of a name, counted from 1, fails; or that one and all after it.
struct Fault {
  std::string call;
  int nth = 1;
  bool forEver = false;
};

// What happens to calls that do not fail: nothing; every second one that may be is interrupted by a
// signal; everything that can move fewer bytes than asked for moves one; only sends do.
enum class Weather { fair, interrupted, byteByByte, shortSends };

// Forgets all that was counted and lets the program's calls fail like this from now on.
void startFaults(const std::optional<Fault>& fault, Weather weather = Weather::fair);

// How often the program has made each call, by its name.
[[nodiscard]] std::map<std::string, int> callCounts();

// The calls that have failed on purpose. An object is the path of a file or the two ports of a
// socket (portsText); empty where a call has none.
class FaultHits {
 public:
  // How many have failed: all of them, those of this name, those of this name on this object.
  [[nodiscard]] int all() const;
  [[nodiscard]] int of(const std::string& call) const;
  [[nodiscard]] int on(const std::string& call, const std::string& object) const;
  // Those that `earlier` does not have yet.
  [[nodiscard]] FaultHits since(const FaultHits& earlier) const;

  void add(const std::string& call, const std::string& object) { ++counts_[{call, object}]; }

 private:
  std::map<std::pair<std::string, std::string>, int> counts_;
};

// Gives every name that the program asks for these numeric addresses, in this order, until the next
// startFaults(). Given none, names have the addresses that the system knows.
void nameAddresses(std::vector<std::string> addresses);

// Since startFaults().
[[nodiscard]] FaultHits faultHits();
// How many calls the weather has interrupted or cut since then.
[[nodiscard]] int disturbedCalls();

// A socket by its own port and that of its peer, each 0 where there is none.
[[nodiscard]] std::string portsText(int local, int peer);

// Makes the calls of this thread calls of the program for its life.
class ProgramScope {
 public:
  ProgramScope();
  ProgramScope(const ProgramScope&) = delete;
  ProgramScope& operator=(const ProgramScope&) = delete;
  ~ProgramScope();
};

template <typename Action>
auto asProgram(Action action) {
  const ProgramScope scope;
  return action();
}

// For the wrappers. The first two count a call and tell whether it must fail, with `errno` set
// then; the third one interrupts a call that may be.
[[nodiscard]] bool isProgram();
[[nodiscard]] bool failsNow(const std::string& call, int error, int descriptor = -1);
[[nodiscard]] bool failsNow(const std::string& call, int error, const char* path);
[[nodiscard]] bool isInterruptedNow();
// How many of `size` bytes a call moves, or a send.
[[nodiscard]] std::size_t bytesToMove(std::size_t size);
[[nodiscard]] std::size_t bytesToSend(std::size_t size);
// What nameAddresses() was given, for a call of the program.
[[nodiscard]] std::vector<std::string> namedAddresses();

}  // namespace quillgate::test
