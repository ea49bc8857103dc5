#include "tests/support/config_check.h"

#include <string>
#include <string_view>

#include "config/config_file.h"
#include "core/event_log.h"
#include "tests/support/fake_notifier.h"
#include "tests/support/require.h"
#include "tests/support/temp_folder.h"

namespace quillgate::test {
namespace {}  // namespace

void checkConfig(std::span<const std::byte> file) {
  static const TempFolder folder;
  static FakeNotifier notifier;
  const std::wstring given = folder.file(L"given.xml");
  const std::wstring saved = folder.file(L"saved.xml");
  writeFile(given, std::string_view(reinterpret_cast<const char*>(file.data()), file.size()));

  EventLog log(notifier);
  RuleSet rules;
  rules[0].localPort = 1;
  const bool loaded = loadConfig(log, rules, given);
  require(log.takeNewLines().size() == 1, "a load does not write one line");
  require(loaded || rules == RuleSet{}, "a load that failed leaves rules behind");

  require(saveConfig(log, rules, saved), "rules that were loaded cannot be saved");
  require(log.takeNewLines().size() == 1, "a save does not write one line");
  RuleSet again;
  require(loadConfig(log, again, saved), "what was saved cannot be loaded");
  require(again == rules, "what was saved gives other rules");
}

}  // namespace quillgate::test
