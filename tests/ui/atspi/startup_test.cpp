// Coming up on Linux: with displays of any kind and without one.
#include <gmock/gmock.h>

#include <filesystem>

#include "tests/support/test_sockets.h"
#include "tests/ui/ui_test.h"

namespace quillgate::test {
namespace {

using Environment = std::map<std::string, std::string>;

class StartUpOnLinux : public UiTest {
 protected:
  [[nodiscard]] Launch launchWith(const Environment& environment) {
    return {.dataFolder = dataFolder, .environment = environment, .outputFile = output};
  }
  // Whether the program says that there is no display, in one line, ends with 1 and leaves no file.
  [[nodiscard]] bool endsWithoutDisplay(const Environment& environment) {
    Launch launch = launchWith(environment);
    launch.hasWindow = false;
    program = std::make_unique<Program>(launch);
    return program->waitForExit() == 1 &&
           contentOf(output) == "quillgate: there is no display that can be used.\n" &&
           std::filesystem::is_empty(pathOf(dataFolder));
  }

  TempFolder outputs;
  const std::wstring output = outputs.file(L"output.txt");
};

TEST_F(StartUpOnLinux, PrintsNothing) {
  start(launchWith({}));
  for (const wchar_t* title : {L"Config", L"Monitor", L"Log"}) {
    EXPECT_TRUE(open(title).isThere());
  }
  mainControl(L"Status").press();
  EXPECT_EQ(program->close(), 0);
  EXPECT_EQ(contentOf(output), "");
}

TEST_F(StartUpOnLinux, EndsWithOneLineWithoutADisplay) {
  EXPECT_TRUE(endsWithoutDisplay({{"DISPLAY", ""}, {"WAYLAND_DISPLAY", ""}}));
}

TEST_F(StartUpOnLinux, EndsWithOneLineWhenTheDisplayCannotBeReached) {
  EXPECT_TRUE(endsWithoutDisplay({{"DISPLAY", ":4711"}, {"WAYLAND_DISPLAY", ""}}));
  EXPECT_TRUE(endsWithoutDisplay({{"DISPLAY", ""}, {"WAYLAND_DISPLAY", "nowhere"}}));
}

TEST_F(StartUpOnLinux, EndsWithOneLineOnAPlatformThatQtDoesNotKnow) {
  EXPECT_TRUE(endsWithoutDisplay({{"QT_QPA_PLATFORM", "nonsense"}}));
}

TEST_F(StartUpOnLinux, ForwardsWithoutAScreenWhenQtIsToldSo) {
  const platform::Socket target = udpOnLoopback();
  const platform::Socket client = udpOnLoopback();
  const std::uint16_t port = freePort(platform::Transport::udp);
  RuleSet rules;
  rules[0] = {true, Protocol::udp, port, L"127.0.0.1", localPort(target)};
  files.writeConfig(configBytes(rules));
  Launch launch = launchWith({{"QT_QPA_PLATFORM", "offscreen"}, {"DISPLAY", ""}});
  launch.hasWindow = false;
  program = std::make_unique<Program>(launch);
  ASSERT_TRUE(files.waitForLog(L"Server started."));
  ASSERT_TRUE(files.waitForLog(L"[UDP] Listening on local port " + std::to_wstring(port) +
                               L" -> 127.0.0.1:" + std::to_wstring(localPort(target))));
  ASSERT_TRUE(sendDatagramTo(client, port, "data"));
  const auto datagram = receiveNextDatagram(target);
  ASSERT_TRUE(datagram);
  EXPECT_EQ(datagram->text, "data");
  EXPECT_FALSE(program->hasEnded());
  EXPECT_EQ(contentOf(output), "");
}

TEST_F(StartUpOnLinux, TakesNoOptionsOfQt) {
  Launch launch = launchWith({});
  launch.arguments = {L"-platform", L"nonsense", L"-style", L"nonsense", L"-geometry", L"10x10"};
  start(launch);
  EXPECT_EQ(mainWindow.clientSize(), (Box{0, 0, 680, 50}));
  EXPECT_EQ(program->close(), 0);
  EXPECT_EQ(contentOf(output), "");
}

}  // namespace
}  // namespace quillgate::test
