#include "ui/monitor_actions.h"

#include <array>
#include <cstddef>

#include "platform/file.h"

namespace quillgate {
namespace {

constexpr std::array kByteOrderMark{std::byte{0xFF}, std::byte{0xFE}};

}  // namespace

const std::wstring& openMonitor(SharedState& state, MonitorView& view) {
  state.monitor.choose(kFilterOff);
  state.monitor.beginRefresh();
  return view.rebuild();
}

const std::wstring& chooseFilter(SharedState& state, MonitorView& view, std::int32_t value) {
  state.monitor.choose(value);
  const std::wstring& text = view.rebuild();
  state.log.write(value == kFilterOff ? L"Monitor turned OFF (None selected)."
                                      : L"Monitor turned ON.");
  return text;
}

const std::wstring& chooseFormat(SharedState& state, MonitorView& view, DumpFormat format) {
  state.monitor.setFormat(format);
  return view.rebuild();
}

const std::wstring& clearMonitor(SharedState& state, MonitorView& view) {
  state.monitor.clearAll();
  const std::wstring& text = view.clear();
  state.log.write(L"Monitor buffers cleared.");
  return text;
}

bool saveMonitor(SharedState& state, std::int32_t filterValue, const std::wstring& path) {
  if (!platform::writeFileAnew(path, {kByteOrderMark, state.monitor.exportText(filterValue)})) {
    return false;
  }
  state.log.write(L"Monitor saved to: " + path);
  return true;
}

}  // namespace quillgate
