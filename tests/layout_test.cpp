#include <gtest/gtest.h>

#include "ui/editor_view.h"
#include "ui/log_view.h"
#include "ui/monitor_layout.h"

namespace quillgate {
namespace {

TEST(Layout, PutsTheRowsOfTheEditor28PixelsApart) {
  const RowPlaces first = rowPlaces(0);
  EXPECT_EQ(first.enabled, (Rectangle{10, 62, 40, 20}));
  EXPECT_EQ(first.protocol, (Rectangle{70, 58, 70, 22}));
  EXPECT_EQ(first.localPort, (Rectangle{150, 58, 90, 22}));
  EXPECT_EQ(first.targetIp, (Rectangle{260, 58, 250, 22}));
  EXPECT_EQ(first.targetPort, (Rectangle{520, 58, 90, 22}));
  EXPECT_EQ(rowPlaces(9).enabled.y, 314);
  EXPECT_EQ(rowPlaces(9).targetPort.y, 310);
}

TEST(Layout, AnchorsSaveAndCancelOfTheEditorToTheRight) {
  const EditorButtons buttons = editorButtons(684);
  EXPECT_EQ(buttons.importXml.place, (Rectangle{10, 356, 120, 30}));
  EXPECT_EQ(buttons.exportXml.place, (Rectangle{140, 356, 120, 30}));
  EXPECT_EQ(buttons.save.place, (Rectangle{464, 356, 90, 30}));
  EXPECT_EQ(buttons.cancel.place, (Rectangle{564, 356, 90, 30}));
}

TEST(Layout, StretchesTheFilterAndTheViewOfTheMonitor) {
  const MonitorControlPlaces places = monitorPlaces({964, 521});
  EXPECT_EQ(places.filter, (Rectangle{10, 10, 584, 28}));
  EXPECT_EQ(places.format, (Rectangle{604, 10, 110, 28}));
  EXPECT_EQ(places.save.place, (Rectangle{724, 10, 110, 28}));
  EXPECT_EQ(places.clear.place, (Rectangle{844, 10, 110, 28}));
  EXPECT_EQ(places.view, (Rectangle{10, 48, 944, 463}));
}

TEST(Layout, KeepsTheFilterOfANarrowMonitor120PixelsWide) {
  EXPECT_EQ(monitorPlaces({501, 300}).filter.width, 121);
  EXPECT_EQ(monitorPlaces({500, 300}).filter.width, 120);
  EXPECT_EQ(monitorPlaces({499, 300}).filter.width, 120);
}

TEST(Layout, StretchesTheListOfTheLog) {
  EXPECT_EQ(logListPlace({884, 481}), (Rectangle{10, 48, 864, 423}));
}

}  // namespace
}  // namespace quillgate
