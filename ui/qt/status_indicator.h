// The round indicator in the main window: green while the server runs, red while it is stopped. UI
// thread.
#pragma once

#include <QLabel>

#include "forwarding/forwarding_server.h"

namespace quillgate {

class StatusIndicator final : public QLabel {
 public:
  StatusIndicator(const ForwardingServer& server, QWidget* parent);

  // Shows whether the server runs now.
  void refresh();

 protected:
  void paintEvent(QPaintEvent* event) override;

 private:
  const ForwardingServer& server_;
};

}  // namespace quillgate
