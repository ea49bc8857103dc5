#include "ui/log_view.h"

#include <algorithm>

namespace quillgate {

bool followsEnd(const ListPosition& position) {
  if (position.count <= 0) return true;
  const int rows =
      position.itemHeight > 0 ? std::max(position.clientHeight / position.itemHeight, 1) : 0;
  return position.topIndex + rows >= position.count - 1;
}

std::span<const std::wstring> newestOf(std::span<const std::wstring> lines) {
  return lines.last(std::min(lines.size(), kLogViewMaxLines));
}

int surplusLines(int count) { return std::max(count - static_cast<int>(kLogViewMaxLines), 0); }

}  // namespace quillgate
