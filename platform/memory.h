// What the kind of processor decides, not the system.
#pragma once

#include <cstddef>
#include <span>

namespace quillgate::platform {

// Copies `from` to `to`, which is aligned to 16 bytes, without putting it into the processor's
// caches, where the processor can: for much that nobody reads soon. As with any copy, another
// thread sees it once it has been told, under a lock for instance. Any thread.
void copyPastCaches(std::span<const std::byte> from, std::byte* to) noexcept;

}  // namespace quillgate::platform
