#include "tests/support/test_engine.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <utility>

#include "core/time_stamp.h"

namespace quillgate::test {
namespace {

// Creates an object for the rest of the process and keeps it reachable, so that a leak checker
// knows it is meant.
template <typename T, typename... Args>
T& immortal(Args&... args) {
  static auto& kept = *new std::vector<T*>;
  kept.push_back(new T(args...));
  return *kept.back();
}

}  // namespace

TestEngine::TestEngine()
    : notifier_(immortal<FakeNotifier>()), state_(immortal<SharedState>(notifier_)) {}

TestEngine::~TestEngine() { stop(); }

void TestEngine::stop() {
  expectReturns([&] { state_.server.stop(); },
                [] {
                  std::fputs("The server does not stop; the process ends.\n", stderr);
                  std::_Exit(EXIT_FAILURE);
                });
}

const std::vector<std::wstring>& TestEngine::messages() {
  for (const std::wstring& line : state_.log.takeNewLines()) {
    messages_.push_back(line.substr(kTimeStampLength));
  }
  return messages_;
}

std::size_t TestEngine::countOf(const std::wstring& message) {
  return static_cast<std::size_t>(std::ranges::count(messages(), message));
}

bool TestEngine::waitFor(const std::wstring& message, std::size_t times) {
  return eventually([&] { return countOf(message) >= times; });
}

std::wstring TestEngine::waitForPrefix(const std::wstring& prefix) {
  std::wstring found;
  static_cast<void>(eventually([&] {
    const auto& all = messages();
    const auto match = std::ranges::find_if(
        all, [&](const std::wstring& message) { return message.starts_with(prefix); });
    if (match != all.end()) found = *match;
    return match != all.end();
  }));
  return found;
}

std::vector<std::wstring> TestEngine::capturedTexts(std::int32_t filter) const {
  const RecordList::Snapshot records = state_.monitor.snapshot(filter);
  std::vector<std::wstring> texts;
  for (std::size_t i = 0; i < records.size(); ++i) texts.emplace_back(records[i].text);
  return texts;
}

void TestEngine::setRule(const ForwardRule& rule, std::size_t index) {
  RuleSet rules;
  rules[index] = rule;
  state_.rules.replace(rules);
}

ForwardRule ruleFor(Protocol proto, std::uint16_t localPort, std::uint16_t targetPort,
                    std::wstring targetIp) {
  return {.enabled = true,
          .proto = proto,
          .localPort = localPort,
          .targetIp = std::move(targetIp),
          .targetPort = targetPort};
}

}  // namespace quillgate::test
