// The round indicator in the main window: green while the server runs, red while it is stopped. It
// keeps no state and reads the running flag each time it paints. UI thread only.
#pragma once

#include "forwarding/forwarding_server.h"
#include "ui/win32/window.h"

namespace quillgate {

class StatusIndicator final : public Window {
 public:
  static constexpr const wchar_t* kClassName = L"QuillgateIndicator";

  explicit StatusIndicator(const ForwardingServer& server) : server_(server) {}

 protected:
  LRESULT onMessage(UINT message, WPARAM wParam, LPARAM lParam) override;

 private:
  void onPaint();

  const ForwardingServer& server_;
};

}  // namespace quillgate
