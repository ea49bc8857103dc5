#include "platform/memory.h"

#ifdef __SSE2__
#include <emmintrin.h>
#endif

#include <algorithm>

namespace quillgate::platform {

void copyPastCaches(std::span<const std::byte> from, std::byte* to) noexcept {
#ifdef __SSE2__
  for (; from.size() >= sizeof(__m128i); from = from.subspan(sizeof(__m128i))) {
    const auto part = _mm_loadu_si128(reinterpret_cast<const __m128i*>(from.data()));
    _mm_stream_si128(reinterpret_cast<__m128i*>(to), part);
    to += sizeof(__m128i);
  }
  // Nothing else orders such stores before those that tell another thread.
  _mm_sfence();
#endif
  std::ranges::copy(from, to);
}

}  // namespace quillgate::platform
