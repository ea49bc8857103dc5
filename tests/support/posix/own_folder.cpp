#include "tests/support/own_folder.h"

namespace quillgate::test {

std::filesystem::path ownFolder() {
  return std::filesystem::read_symlink("/proc/self/exe").parent_path();
}

}  // namespace quillgate::test
