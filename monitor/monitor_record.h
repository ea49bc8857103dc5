// One captured item: a forwarded chunk of payload or a connection event.
#pragma once

#include <cstddef>
#include <memory>
#include <span>
#include <string_view>

namespace quillgate {

// Payload bytes a record keeps; the rest of a longer chunk is dropped and the text says so.
inline constexpr std::size_t kMaxPayloadBytes = 4096;

// The characters and bytes lie where the record does (see monitor/record_slab.h).
struct MonitorRecord {
  std::wstring_view timestamp;         // local time, ended by two blanks
  std::wstring_view text;              // what was captured, composed by the caller
  std::span<const std::byte> payload;  // empty for an event
};

// Records never change once they are captured, so every list shares the one copy.
using SharedRecord = std::shared_ptr<const MonitorRecord>;

}  // namespace quillgate
