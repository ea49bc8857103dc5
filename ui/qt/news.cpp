#include "ui/qt/news.h"

#include <sys/eventfd.h>
#include <unistd.h>

#include <cstdint>

namespace quillgate {

News::News() : descriptor_(::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)) {}

void News::notifyNewLines() noexcept {
  if (logOpen_.load() && !lines_.exchange(true)) wake();
}

bool News::notifyNewRecords() noexcept {
  if (!monitorOpen_.load()) return false;
  if (!records_.exchange(true)) wake();
  return true;
}

News::Waiting News::take() noexcept {
  std::uint64_t count = 0;
  [[maybe_unused]] const auto taken = ::read(descriptor_, &count, sizeof(count));
  return {.lines = lines_.exchange(false), .records = records_.exchange(false)};
}

void News::wake() const noexcept {
  const std::uint64_t one = 1;
  [[maybe_unused]] const auto written = ::write(descriptor_, &one, sizeof(one));
}

}  // namespace quillgate
