// Whether tests for Windows run under wine, for those that it cannot pass.
#pragma once

namespace quillgate::test {

[[nodiscard]] bool runsUnderWine();

}  // namespace quillgate::test
