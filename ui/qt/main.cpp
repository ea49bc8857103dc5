// The entry point: brings the process up, runs the event loop, and takes it down again.
#include <QApplication>
#include <QFont>
#include <cstdio>
#include <cstdlib>

#include "engine/shared_state.h"
#include "platform/system.h"
#include "ui/qt/accessible.h"
#include "ui/qt/main_window.h"
#include "ui/qt/news.h"

namespace quillgate {
namespace {

[[noreturn]] void endWithoutDisplay() {
  std::fputs("quillgate: there is no display that can be used.\n", stderr);
  std::_Exit(EXIT_FAILURE);
}

// Without a display Qt writes several lines and ends the process by a signal. One line is enough,
// and a status that says it.
void onMessageAtStart(QtMsgType type, const QMessageLogContext&, const QString&) {
  if (type == QtFatalMsg) endWithoutDisplay();
}

QFont interfaceFont() {
  QFont font = QApplication::font();
  font.setPixelSize(14);
  return font;
}

// Returns the exit code.
int run() {
  if (!platform::startPlatform()) return EXIT_FAILURE;
  // Detached sessions use both until the process is gone.
  static News& news = *new News;
  static SharedState& state = *new SharedState(news);
  prepareDataFolder(state);
  // The entry of the desktop's menu that the windows belong to, on Wayland also if the program file
  // has another name.
  QApplication::setDesktopFileName("quillgate");
  QApplication::setFont(interfaceFont());
  installAccessibleInterfaces();
  loadRules(state);

  MainWindow window(state, news);
  window.show();
  state.server.start();
  window.showRunningState();
  QApplication::exec();
  platform::stopPlatform();
  return EXIT_SUCCESS;
}

}  // namespace
}  // namespace quillgate

int main(int, char** arguments) {
  int count = 1;  // no arguments, not even for Qt
  const QtMessageHandler handler = qInstallMessageHandler(quillgate::onMessageAtStart);
  const QApplication application(count, arguments);
  qInstallMessageHandler(handler);
  if (QApplication::screens().isEmpty()) quillgate::endWithoutDisplay();
  return quillgate::run();
}
