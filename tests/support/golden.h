// Golden files: output that is compared byte for byte with a file in tests/golden.
#pragma once

#include <gtest/gtest.h>

#include <string>
#include <string_view>

namespace quillgate::test {

// Whether tests/golden/`name` holds exactly `bytes`. Where it does not, the failure names a file in
// the folder for temporary files that holds what came out. With QUILLGATE_REFRESH_GOLDEN=1 in the
// environment it makes `bytes` the content of the golden file instead and still fails, so that no
// run that refreshes is taken for one that compares.
[[nodiscard]] testing::AssertionResult matchesGolden(const std::string& name,
                                                     std::string_view bytes);

}  // namespace quillgate::test
