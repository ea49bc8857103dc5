#include "monitor/monitor_view.h"

#include <gtest/gtest.h>

#include <atomic>
#include <cstdint>
#include <random>
#include <string>
#include <thread>
#include <vector>

#include "monitor/record_renderer.h"
#include "tests/support/load.h"
#include "tests/support/test_engine.h"

namespace quillgate {
namespace {

using test::FakeNotifier;

constexpr wchar_t kNotice[] = L"Monitoring is OFF.\r\nSelect 'All' or a rule to start monitoring.";

// "<first>\r\n" to "<last>\r\n".
std::wstring numberedLines(int first, int last) {
  std::wstring text;
  for (int line = first; line <= last; ++line) text += std::to_wstring(line) + L"\r\n";
  return text;
}

std::wstring trimmedView(std::wstring text) {
  trimViewText(text);
  return text;
}

TEST(TrimViewText, LeavesATextWithFewerThan500LineFeedsAlone) {
  EXPECT_EQ(trimmedView(L""), L"");
  EXPECT_EQ(trimmedView(L"no line feed"), L"no line feed");
  EXPECT_EQ(trimmedView(numberedLines(1, 499)), numberedLines(1, 499));
  EXPECT_EQ(trimmedView(numberedLines(1, 499) + L"rest"), numberedLines(1, 499) + L"rest");
  EXPECT_EQ(trimmedView(L"\n" + numberedLines(1, 400)), L"\n" + numberedLines(1, 400));
}

TEST(TrimViewText, TakesTheFirstLineFromATextWithExactly500) {
  EXPECT_EQ(trimmedView(numberedLines(1, 500)), numberedLines(2, 500));
  EXPECT_EQ(trimmedView(L"\n" + numberedLines(1, 499)), numberedLines(1, 499));
  EXPECT_EQ(trimmedView(L"\n\n" + numberedLines(1, 498)), L"\n" + numberedLines(1, 498));
}

TEST(TrimViewText, KeepsTheTextAfterThe500thLineFeedFromTheEnd) {
  EXPECT_EQ(trimmedView(numberedLines(1, 600)), numberedLines(102, 600));
  EXPECT_EQ(trimmedView(numberedLines(1, 600) + L"rest"), numberedLines(102, 600) + L"rest");
  EXPECT_EQ(trimmedView(std::wstring(2000, L'\n')), std::wstring(499, L'\n'));
}

class MonitorViewTest : public testing::Test {
 protected:
  void captureEvents(int first, int last, std::uint32_t ruleIndex = 0) {
    for (int number = first; number <= last; ++number) {
      monitor.captureEvent(ruleIndex, std::to_wstring(number));
    }
  }

  // The rendered records `first` (counted from 0) to the end of the chosen list.
  [[nodiscard]] std::wstring rendered(std::int32_t filter, std::size_t first = 0) const {
    const auto records = monitor.snapshot(filter);
    std::wstring text;
    for (std::size_t i = first; i < records.size(); ++i) {
      text += renderRecord(records[i], monitor.format());
    }
    return text;
  }

  FakeNotifier notifier;
  TrafficMonitor monitor{notifier};
  MonitorView view{monitor};
};

TEST_F(MonitorViewTest, ShowsTheNoticeWhileMonitoringIsOff) {
  EXPECT_EQ(view.rebuild(), kNotice);
  monitor.choose(kFilterAll);
  captureEvents(1, 3);
  monitor.choose(kFilterOff);  // whatever has been captured
  EXPECT_EQ(view.rebuild(), kNotice);
  monitor.choose(kFilterAll);
  ASSERT_NE(view.refresh(), nullptr);  // the records were not counted as shown
}

TEST_F(MonitorViewTest, DoesNothingOnARefreshWhileMonitoringIsOff) {
  monitor.choose(kFilterAll);
  captureEvents(1, 3);
  monitor.choose(kFilterOff);
  EXPECT_EQ(view.refresh(), nullptr);
  monitor.choose(kFilterAll);
  ASSERT_NE(view.refresh(), nullptr);  // the records were not counted as shown
}

TEST_F(MonitorViewTest, AppendsOnlyTheNewRecordsOnARefresh) {
  monitor.choose(kFilterAll);
  captureEvents(1, 2);
  EXPECT_EQ(view.rebuild(), rendered(kFilterAll));
  EXPECT_EQ(view.refresh(), nullptr);
  captureEvents(3, 5);
  const std::wstring* text = view.refresh();
  ASSERT_NE(text, nullptr);
  EXPECT_EQ(*text, rendered(kFilterAll));
  EXPECT_EQ(view.refresh(), nullptr);
}

TEST_F(MonitorViewTest, ShowsTheRecordsOfTheChosenRuleOnly) {
  monitor.choose(3);
  captureEvents(1, 2, 3);
  captureEvents(3, 4, 7);
  EXPECT_EQ(view.rebuild(), rendered(3));
  captureEvents(5, 5, 7);
  EXPECT_EQ(view.refresh(), nullptr);
  captureEvents(6, 6, 3);
  const std::wstring* text = view.refresh();
  ASSERT_NE(text, nullptr);
  EXPECT_EQ(*text, rendered(3));
}

TEST_F(MonitorViewTest, CountsOnlyTheChosenListAsShown) {
  monitor.choose(3);
  captureEvents(1, 2, 3);
  EXPECT_EQ(view.rebuild(), rendered(3));
  monitor.choose(kFilterAll);
  const std::wstring* text = view.refresh();
  ASSERT_NE(text, nullptr);
  EXPECT_EQ(*text, rendered(3) + rendered(kFilterAll));
}

TEST_F(MonitorViewTest, LetsTheNextCaptureSendANotice) {
  notifier.monitorOpen = true;
  monitor.choose(kFilterAll);
  captureEvents(1, 2);
  EXPECT_EQ(notifier.recordNotices, 1);
  EXPECT_NE(view.refresh(), nullptr);
  captureEvents(3, 3);
  EXPECT_EQ(notifier.recordNotices, 2);
}

TEST_F(MonitorViewTest, LetsTheNextCaptureSendANoticeEvenWhileMonitoringIsOff) {
  notifier.monitorOpen = true;
  monitor.choose(kFilterAll);
  captureEvents(1, 1);
  monitor.choose(kFilterOff);
  EXPECT_EQ(view.refresh(), nullptr);
  monitor.choose(kFilterAll);
  captureEvents(2, 2);
  EXPECT_EQ(notifier.recordNotices, 2);
}

TEST_F(MonitorViewTest, LeavesNoRecordUnshownThatComesDuringARefresh) {
  const std::vector<std::byte> longLine(kMaxPayloadBytes, std::byte{'x'});
  notifier.monitorOpen = true;
  monitor.choose(kFilterAll);
  for (int round = 0; round < 5; ++round) {
    // So much to render that the next record comes in the middle of it.
    for (int i = 0; i < 250; ++i) monitor.capturePayload(0, L"long", longLine);
    const int notices = notifier.recordNotices;
    std::atomic<bool> begun = false;
    std::thread writer([&] {
      while (!begun) std::this_thread::yield();
      captureEvents(1, 1);
    });
    begun = true;
    EXPECT_NE(view.refresh(), nullptr);
    writer.join();
    if (notifier.recordNotices > notices) static_cast<void>(view.refresh());
    EXPECT_EQ(view.refresh(), nullptr) << "in round " << round;
  }
}

TEST_F(MonitorViewTest, KeepsLinesInTheFormatTheyWereRenderedInUntilARebuild) {
  const std::vector<std::byte> payload{std::byte{'h'}, std::byte{'i'}};
  monitor.choose(kFilterAll);
  monitor.capturePayload(0, L"[UDP] C->S  ", payload);
  const std::wstring inAscii = view.rebuild();
  EXPECT_TRUE(inAscii.ends_with(L"[UDP] C->S  \r\nhi\r\n"));

  monitor.setFormat(DumpFormat::hex);
  monitor.capturePayload(0, L"[UDP] S->C  ", payload);
  const std::wstring* text = view.refresh();
  ASSERT_NE(text, nullptr);
  EXPECT_EQ(*text, inAscii + rendered(kFilterAll, 1));
  EXPECT_TRUE(text->ends_with(L"[UDP] S->C  \r\n68 69 \r\n"));
  EXPECT_EQ(view.rebuild(), rendered(kFilterAll));
}

TEST_F(MonitorViewTest, Keeps499LinesOfA600LineView) {
  monitor.choose(kFilterAll);
  captureEvents(1, 400);
  EXPECT_EQ(view.rebuild(), rendered(kFilterAll));
  captureEvents(401, 600);
  const std::wstring* text = view.refresh();
  ASSERT_NE(text, nullptr);
  EXPECT_EQ(*text, rendered(kFilterAll, 101));
}

TEST_F(MonitorViewTest, CanCutARecordInTheMiddle) {
  monitor.choose(kFilterAll);
  const std::vector<std::byte> lineFeeds(300, std::byte{'\n'});
  monitor.capturePayload(0, L"first", lineFeeds);
  monitor.capturePayload(0, L"second", lineFeeds);
  const std::wstring& text = view.rebuild();
  EXPECT_EQ(text, trimmedView(rendered(kFilterAll)));
  EXPECT_EQ(text.find(L"first"), std::wstring::npos);
  EXPECT_NE(text.find(L"second"), std::wstring::npos);
}

TEST_F(MonitorViewTest, ForgetsTheTextWhenCleared) {
  EXPECT_EQ(view.clear(), kNotice);
  monitor.choose(kFilterAll);
  captureEvents(1, 3);
  EXPECT_NE(view.rebuild(), L"");
  EXPECT_EQ(view.clear(), L"");
  captureEvents(4, 4);
  const std::wstring* text = view.refresh();
  ASSERT_NE(text, nullptr);
  EXPECT_EQ(*text, rendered(kFilterAll, 3));
}

TEST_F(MonitorViewTest, StartsAtTheFirstRecordNotShownAfterATrim) {
  monitor.choose(kFilterAll);
  captureEvents(1, 49999);
  const std::wstring before = view.rebuild();
  captureEvents(50000, 50001);  // drops the oldest 5000
  const std::wstring* text = view.refresh();
  ASSERT_NE(text, nullptr);
  EXPECT_EQ(*text, trimmedView(before + rendered(kFilterAll, 44999)));
}

// What the view must show, built without a thought for its cost: everything is rendered, then cut.
class PlainView {
 public:
  void append(const std::wstring& newText) { text = trimmedView(text + newText); }
  std::wstring text;
};

// Stores and updates drawn at random, always the same ones.
class MonitorViewProperty : public MonitorViewTest, public testing::WithParamInterface<unsigned> {
 protected:
  [[nodiscard]] std::size_t below(std::size_t bound) { return random_() % bound; }

  // Now and then long runs of one kind, so that stores with few and with many line feeds arise.
  std::vector<std::byte> anyPayload() {
    std::vector<std::byte> payload(below(4) == 0 ? below(5000) : below(80));
    const bool manyLineFeeds = below(8) == 0;
    for (std::byte& byte : payload) {
      byte = manyLineFeeds && below(3) == 0 ? std::byte{'\n'} : static_cast<std::byte>(below(256));
    }
    return payload;
  }

  std::wstring anyText() {
    std::wstring text = L"text ";
    for (std::size_t i = below(6); i > 0; --i) text += below(3) == 0 ? L"\n" : L"\u00E4";
    return text;
  }

  void captureSome() {
    // Around 500 lines in all, now and then many more.
    for (std::size_t i = below(10) == 0 ? 700 : below(60); i > 0; --i) {
      const auto rule = static_cast<std::uint32_t>(below(3));
      if (below(2) == 0) {
        monitor.captureEvent(rule, anyText());
      } else {
        monitor.capturePayload(rule, anyText(), anyPayload());
      }
    }
  }

  [[nodiscard]] std::int32_t anyFilter() { return static_cast<std::int32_t>(below(4)) - 1; }

  // How many records of each list have been rendered, as the store counts them.
  std::size_t& shownOf(std::int32_t filter) { return shown_[static_cast<std::size_t>(filter + 1)]; }

  void rebuildBoth() {
    const std::int32_t filter = monitor.filter();
    plain_.text.clear();
    plain_.append(rendered(filter));
    shownOf(filter) = monitor.snapshot(filter).size();
    ASSERT_EQ(view.rebuild(), plain_.text);
  }

  void refreshBoth() {
    const std::int32_t filter = monitor.filter();
    const std::size_t size = monitor.snapshot(filter).size();
    const bool news = shownOf(filter) < size;
    plain_.append(rendered(filter, shownOf(filter)));
    shownOf(filter) = size;
    const std::wstring* text = view.refresh();
    ASSERT_EQ(text != nullptr, news);
    ASSERT_EQ(text != nullptr ? *text : plain_.text, plain_.text);
  }

 private:
  std::mt19937 random_{GetParam()};
  PlainView plain_;
  std::size_t shown_[4] = {};
};

TEST_P(MonitorViewProperty, EqualsRenderingEverythingAndTrimming) {
  monitor.choose(kFilterAll);
  for (int step = 0; step < test::load(20, 40); ++step) {
    captureSome();
    switch (below(4)) {
      case 0:
        monitor.choose(anyFilter());
        rebuildBoth();
        break;
      case 1:
        monitor.setFormat(below(2) == 0 ? DumpFormat::hex : DumpFormat::ascii);
        rebuildBoth();
        break;
      default:
        refreshBoth();
    }
    ASSERT_FALSE(HasFatalFailure()) << "in step " << step;
  }
}

INSTANTIATE_TEST_SUITE_P(Seeds, MonitorViewProperty, testing::Range(1U, 21U));

}  // namespace
}  // namespace quillgate
