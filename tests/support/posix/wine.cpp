#include "tests/support/wine.h"

namespace quillgate::test {

bool runsUnderWine() { return false; }

}  // namespace quillgate::test
