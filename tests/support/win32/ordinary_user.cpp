#include "tests/support/ordinary_user.h"

namespace quillgate::test {

bool holdsForOrdinaryUser(const std::function<bool()>& check) { return check(); }

}  // namespace quillgate::test
