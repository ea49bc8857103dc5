// The service through which a desktop lends programs its own dialogs for files, as a test plays it.
// https://flatpak.github.io/xdg-desktop-portal/docs/doc-org.freedesktop.portal.FileChooser.html
#pragma once

#include <memory>
#include <string>

namespace quillgate::test {

// On the bus of the session while it lives. One thread; it hears of nothing but while it waits.
class FilePortal {
 public:
  FilePortal();
  ~FilePortal();
  FilePortal(const FilePortal&) = delete;
  FilePortal& operator=(const FilePortal&) = delete;

  // Waits until a program knows that there is this service.
  [[nodiscard]] bool waitUntilKnown();
  // Waits until a program has asked for a dialog and listens for what comes of it: "SaveFile" or
  // "OpenFile"; empty when none does.
  [[nodiscard]] std::string waitForRequest();
  // What the user does with the dialog that was asked for last, which is closed by that.
  void choose(const std::wstring& path);
  void cancel();

 private:
  struct Service;
  std::unique_ptr<Service> service_;
};

}  // namespace quillgate::test
