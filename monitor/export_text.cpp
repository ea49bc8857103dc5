#include "monitor/export_text.h"

#include <string>

#include "core/text.h"
#include "monitor/traffic_monitor.h"

namespace quillgate {
namespace {

std::wstring filterText(std::int32_t filterValue) {
  if (filterValue == kFilterOff) return L"None (monitoring off)";
  return isRuleFilter(filterValue) ? L"Rule " + std::to_wstring(filterValue + 1) : L"All";
}

std::wstring headerBlock(std::size_t items, std::int32_t filterValue, DumpFormat format) {
  return std::wstring(L"Quillgate Monitor Export\r\n") +  //
         L"Format: " + (format == DumpFormat::ascii ? L"ASCII" : L"HEX") + L"\r\n" + L"Filter: " +
         filterText(filterValue) + L"\r\n" +               //
         L"Items:  " + std::to_wstring(items) + L"\r\n" +  //
         std::wstring(60, L'-') + L"\r\n\r\n";
}

}  // namespace

std::vector<std::byte> buildExportText(const RecordList& records, std::int32_t filterValue,
                                       DumpFormat format) {
  const std::wstring header = headerBlock(records.size(), filterValue, format);
  std::size_t length = header.size();
  for (std::size_t i = 0; i < records.size(); ++i) length += renderedLength(records[i], format);

  std::vector<std::byte> text;
  text.reserve(length * 2);
  appendUtf16le(header, text);
  for (std::size_t i = 0; i < records.size(); ++i) appendRecordUtf16le(records[i], format, text);
  return text;
}

}  // namespace quillgate
