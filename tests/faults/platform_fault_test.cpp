// What the platform's functions do when a call below them fails: answers that no working system
// lets a test see.
#include <gtest/gtest.h>

#include <array>
#include <optional>
#include <span>
#include <string_view>

#include "platform/file.h"
#include "platform/socket.h"
#include "platform/xml_document.h"
#include "tests/faults/fault_layer.h"
#include "tests/support/bytes.h"
#include "tests/support/temp_folder.h"
#include "tests/support/test_sockets.h"

namespace quillgate::platform {
namespace {

using test::asProgram;
using test::bytesOf;
using test::Fault;

class PlatformFault : public testing::Test {
 protected:
  void TearDown() override { test::startFaults(std::nullopt); }
};

TEST_F(PlatformFault, ReplacesAFileInPlaceWhenTheSystemSaysNothingAboutItsNewFile) {
  const test::TempFolder folder;
  const std::wstring path = folder.file(L"file");
  test::writeFile(path, "old");
  for (const char* call : {"lstat", "fstat"}) {
    test::startFaults(Fault{call, 1, true});
    EXPECT_TRUE(asProgram([&] { return replaceFile(path, bytesOf(call)); }));
    EXPECT_EQ(test::contentOf(path), call);
  }
}

TEST_F(PlatformFault, LeavesADocumentEmptyThatHasNoRoomForTheParsedOne) {
  for (const char* call : {"xmlNewDocFragment", "xmlNewDoc"}) {
    auto document = XmlDocument::create();
    ASSERT_TRUE(document && document->parse(bytesOf("<old/>")));
    test::startFaults(Fault{call, 1, true});
    const bool isWellFormed = std::string_view(call) == "xmlNewDocFragment";
    EXPECT_FALSE(
        asProgram([&] { return document->parse(bytesOf(isWellFormed ? "<new/>" : "<new")); }));
    EXPECT_FALSE(document->selectSingleNode(L"/old"));
    EXPECT_FALSE(document->selectSingleNode(L"/new"));
    EXPECT_FALSE(document->createElement(L"root"));
    EXPECT_FALSE(document->print());
    test::startFaults(std::nullopt);
    EXPECT_TRUE(document->parse(bytesOf("<newer/>")));
    EXPECT_TRUE(document->selectSingleNode(L"/newer"));
  }
}

// A connect that a signal interrupts waits for its end and asks the socket what has become of it.
TEST_F(PlatformFault, TakesAnInterruptedConnectForFailedWhenTheSystemDoesNotTellItsEnd) {
  const Socket listener = test::listenOnLoopback();
  for (const char* call : {"poll", "getsockopt"}) {
    test::startFaults(Fault{call, 1, true}, test::Weather::interrupted);
    int failures = 0;
    for (int i = 0; i < 10; ++i) {
      const Socket socket = openIpv4Socket(Transport::tcp);
      const auto target = test::loopback(test::localPort(listener));
      if (!asProgram([&] { return connectTo(socket, target); })) ++failures;
    }
    EXPECT_EQ(failures, test::faultHits().of(call));
    EXPECT_GT(failures, 0);
  }
}

}  // namespace
}  // namespace quillgate::platform
