#include "monitor/record_slab.h"

#include <algorithm>
#include <new>
#include <type_traits>
#include <utility>

#include "core/time_stamp.h"
#include "platform/memory.h"

namespace quillgate {
namespace {

static_assert(std::is_trivially_destructible_v<MonitorRecord>, "nobody destroys records");

// Payloads begin with a cache line: copying one to anywhere else takes half as long again.
constexpr std::size_t kPayloadAlignment = 64;

// Smaller payloads go through the caches: that is faster with few lines, and with a last line that
// is not full.
constexpr std::size_t kLeastPastCaches = kMaxPayloadBytes;

// The most that a record takes.
std::size_t mostBytesOf(const Capture& capture) {
  const std::size_t characters = kTimeStampLength + capture.text.size() + capture.ending.size();
  return kPayloadAlignment + capture.payload.size() + characters * sizeof(wchar_t) +
         alignof(wchar_t) + sizeof(MonitorRecord) + alignof(MonitorRecord);
}

bool isJoined(std::wstring_view joined, std::wstring_view text, std::wstring_view ending) {
  return joined.size() == text.size() + ending.size() && joined.starts_with(text) &&
         joined.ends_with(ending);
}

// Copies a payload to the cache line where it begins. A full one goes past the caches, as few are
// ever looked at: otherwise each line would first be read from memory, only to be overwritten, and
// would drive out of the caches what the pump needs next.
void copyPayload(std::span<const std::byte> from, std::byte* to) {
  if (from.size() >= kLeastPastCaches) return platform::copyPastCaches(from, to);
  std::ranges::copy(from, to);
}

}  // namespace

SlabPool::Memory SlabPool::take() {
  {
    const std::lock_guard lock(lock_);
    ++inUse_;
    if (!spare_.empty()) {
      Memory memory = std::move(spare_.back());
      spare_.pop_back();
      return memory;
    }
  }
  return std::make_unique_for_overwrite<std::byte[]>(kSlabBytes);
}

void SlabPool::giveBack(Memory memory) {
  std::vector<Memory> surplus;  // freed after the lock is released
  const std::lock_guard lock(lock_);
  --inUse_;
  spare_.push_back(std::move(memory));
  while (spare_.size() > inUse_ / 8 + 1) {
    surplus.push_back(std::move(spare_.back()));
    spare_.pop_back();
  }
}

std::size_t SlabPool::spare() const {
  const std::lock_guard lock(lock_);
  return spare_.size();
}

RecordSlab::RecordSlab(std::shared_ptr<SlabPool> pool, const Capture& first)
    : pool_(std::move(pool)),
      size_(std::max(kSlabBytes, mostBytesOf(first))),
      memory_(size_ == kSlabBytes ? pool_->take()
                                  : std::make_unique_for_overwrite<std::byte[]>(size_)),
      next_(memory_.get()),
      left_(size_) {}

RecordSlab::~RecordSlab() {
  if (size_ == kSlabBytes) pool_->giveBack(std::move(memory_));
}

const MonitorRecord* RecordSlab::add(const Capture& capture) {
  if (mostBytesOf(capture) > left_) return nullptr;
  if (timestamp_.empty() || capture.time != time_) {
    time_ = capture.time;
    timestamp_ = put(TimeStamp(time_).text(), {});
  }
  if (!isJoined(text_, capture.text, capture.ending)) text_ = put(capture.text, capture.ending);
  std::span<std::byte> payload;
  if (!capture.payload.empty()) {
    payload = {cut(capture.payload.size(), kPayloadAlignment), capture.payload.size()};
    copyPayload(capture.payload, payload.data());
  }
  return new (cut(sizeof(MonitorRecord), alignof(MonitorRecord)))
      MonitorRecord{timestamp_, text_, payload};
}

std::wstring_view RecordSlab::put(std::wstring_view text, std::wstring_view ending) {
  const std::size_t length = text.size() + ending.size();
  auto* const start = reinterpret_cast<wchar_t*>(cut(length * sizeof(wchar_t), alignof(wchar_t)));
  std::ranges::copy(ending, std::ranges::copy(text, start).out);
  return {start, length};
}

// The next `bytes`; there are enough of them.
std::byte* RecordSlab::cut(std::size_t bytes, std::size_t alignment) {
  auto* const start = static_cast<std::byte*>(std::align(alignment, bytes, next_, left_));
  next_ = start + bytes;
  left_ -= bytes;
  return start;
}

}  // namespace quillgate
