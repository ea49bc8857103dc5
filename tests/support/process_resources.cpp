#include "tests/support/process_resources.h"

#include <gtest/gtest.h>

#include "tests/support/deadline.h"

namespace quillgate::test {
namespace {

bool holdsNoMoreThan(const ProcessResources& start) {
  const ProcessResources now = processResources();
  return now.descriptors <= start.descriptors && now.threads <= start.threads;
}

}  // namespace

void expectNoMoreThan(const ProcessResources& start) {
  if (eventually([&] { return holdsNoMoreThan(start); })) return;
  const ProcessResources now = processResources();
  EXPECT_LE(now.descriptors, start.descriptors) << "a descriptor is left open";
  EXPECT_LE(now.threads, start.threads) << "a thread is left running";
}

}  // namespace quillgate::test
