// The text of an export: a header block, then every record of a list, oldest first. Pure; any
// thread.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "monitor/record_list.h"
#include "monitor/record_renderer.h"

namespace quillgate {

// The text in UTF-16LE, as the file holds it behind its byte-order mark. `filterValue` only names
// the list in the header. A full list of full records has 1.25 GB as HEX, which is why there is no
// wide string in between.
[[nodiscard]] std::vector<std::byte> buildExportText(const RecordList& records,
                                                     std::int32_t filterValue, DumpFormat format);

}  // namespace quillgate
