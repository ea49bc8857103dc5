// Captured records as text: a header line, then the payload as hexadecimal values or as characters.
// Lines end with CR LF. Pure; any thread; the time is linear in the size of the record.
#pragma once

#include <cstddef>
#include <span>
#include <string>
#include <vector>

#include "monitor/monitor_record.h"

namespace quillgate {

// How payloads are shown.
enum class DumpFormat { ascii = 0, hex = 1 };

// The bytes as two upper-case digits each, 32 to a line, a blank after each that does not end its
// line, and one more line break: the last line keeps its blank, and a payload that fills its last
// line is followed by an empty one.
[[nodiscard]] std::wstring renderHex(std::span<const std::byte> payload);

// The bytes 32 to 126 as characters, line feeds as line breaks, carriage returns left out and any
// other byte as "."; then one more line break. Lines have no limit.
[[nodiscard]] std::wstring renderAscii(std::span<const std::byte> payload);

// The time stamp and the text in one line; the payload, if there is one, in the lines after it.
[[nodiscard]] std::wstring renderRecord(const MonitorRecord& record, DumpFormat format);

// The same text appended in UTF-16LE, the payload's lines without a wide string in between.
void appendRecordUtf16le(const MonitorRecord& record, DumpFormat format,
                         std::vector<std::byte>& bytes);

// How many characters renderRecord() gives.
[[nodiscard]] std::size_t renderedLength(const MonitorRecord& record, DumpFormat format);

}  // namespace quillgate
