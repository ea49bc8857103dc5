// What the platform's functions do when a call below them fails: answers that no working system
// lets a test see.
#include <gtest/gtest.h>

#include <array>
#include <optional>
#include <span>
#include <string_view>

#include "platform/file.h"
#include "tests/faults/fault_layer.h"
#include "tests/support/temp_folder.h"

namespace quillgate::platform {
namespace {

using test::asProgram;
using test::Fault;

std::span<const std::byte> bytesOf(std::string_view text) { return std::as_bytes(std::span(text)); }

class PlatformFault : public testing::Test {
 protected:
  void TearDown() override { test::startFaults(std::nullopt); }
};

TEST_F(PlatformFault, ReplacesAFileInPlaceWhenTheSystemTellsNothingOfItsNewFile) {
  const test::TempFolder folder;
  const std::wstring path = folder.file(L"file");
  test::writeFile(path, "old");
  for (const char* call : {"lstat", "fstat"}) {
    test::startFaults(Fault{call, 1, true});
    EXPECT_TRUE(asProgram([&] { return replaceFile(path, bytesOf(call)); }));
    EXPECT_EQ(test::contentOf(path), call);
  }
}

}  // namespace
}  // namespace quillgate::platform
