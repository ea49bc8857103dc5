#include "forwarding/udp_forwarder.h"

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <functional>
#include <future>
#include <span>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "tests/support/test_engine.h"
#include "tests/support/test_sockets.h"

namespace quillgate {
namespace {

using namespace std::chrono_literals;
using platform::Socket;
using platform::Transport;
using test::receiveNextDatagram;
using test::ruleFor;
using test::sendDatagramTo;
using test::TestEngine;
using Lines = std::vector<std::wstring>;

constexpr std::size_t kLargestDatagram = 65507;

std::string textOf(std::span<const std::byte> bytes) {
  return {reinterpret_cast<const char*>(bytes.data()), bytes.size()};
}

std::string countingText(std::size_t size) {
  std::string text(size, '\0');
  for (std::size_t i = 0; i < size; ++i) text[i] = static_cast<char>(i % 251);
  return text;
}

// A rule with a target behind it, and the server started.
class UdpForwarderTest : public testing::Test {
 protected:
  void SetUp() override {
    engine.setRule(ruleFor(Protocol::udp, port, test::localPort(target)), kIndex);
    engine.state().monitor.choose(kFilterAll);
    engine.state().server.start();
    ASSERT_TRUE(
        engine.waitFor(L"[UDP] Listening on local port " + local + L" -> 127.0.0.1:" + targetPort));
  }

  [[nodiscard]] std::wstring newClientText(std::uint16_t senderPort) const {
    return L"[UDP] New client FROM 127.0.0.1:" + std::to_wstring(senderPort) + L"  local " + local +
           L" -> 127.0.0.1:" + targetPort;
  }
  [[nodiscard]] std::wstring newClientText(const Socket& sender) const {
    return newClientText(test::localPort(sender));
  }

  // What was logged since the start of the server, in its order.
  [[nodiscard]] Lines messagesSinceStart() {
    Lines messages = engine.messages();
    messages.erase(messages.begin(), messages.begin() + 3);
    return messages;
  }

  // Sends from a client, or from the target, and expects that the other one receives it from the
  // forwarder's port.
  void expectRelayed(const Socket& from, const Socket& to, const std::string& text) {
    ASSERT_TRUE(sendDatagramTo(from, port, text));
    const auto datagram = receiveNextDatagram(to);
    ASSERT_TRUE(datagram);
    EXPECT_TRUE(datagram->text == text);
    EXPECT_EQ(datagram->senderPort, port);
  }

  static constexpr std::int32_t kIndex = 6;
  TestEngine engine;
  Socket target = test::udpOnLoopback();
  const Socket client = test::udpOnLoopback();
  const std::uint16_t port = test::freePort(Transport::udp);
  const std::wstring local = std::to_wstring(port);
  const std::wstring targetPort = std::to_wstring(test::localPort(target));
};

TEST_F(UdpForwarderTest, RelaysBothWaysThroughItsLocalPort) {
  expectRelayed(client, target, "question");
  expectRelayed(target, client, "answer");
  expectRelayed(target, client, "another answer");
}

TEST_F(UdpForwarderTest, CapturesTheClientAndEveryDatagram) {
  expectRelayed(client, target, "question");
  expectRelayed(target, client, "answer");
  EXPECT_EQ(messagesSinceStart(), Lines{newClientText(client)});
  EXPECT_EQ(engine.capturedTexts(kIndex),
            (Lines{newClientText(client), L"[UDP] C->S  ", L"[UDP] S->C  "}));
  EXPECT_EQ(engine.capturedTexts(), engine.capturedTexts(kIndex));
  const auto records = engine.state().monitor.snapshot(kIndex);
  EXPECT_EQ(textOf(records[0].payload), "");
  EXPECT_EQ(textOf(records[1].payload), "question");
  EXPECT_EQ(textOf(records[2].payload), "answer");
}

TEST_F(UdpForwarderTest, RelaysWithoutCapturingWhileCapturingIsOff) {
  engine.state().monitor.choose(kFilterOff);
  expectRelayed(client, target, "question");
  expectRelayed(target, client, "answer");
  EXPECT_EQ(messagesSinceStart(), Lines{newClientText(client)});
  EXPECT_EQ(engine.capturedTexts(), Lines());
}

TEST_F(UdpForwarderTest, DropsAReplyBeforeAnyClientWithoutCapturingIt) {
  ASSERT_TRUE(sendDatagramTo(target, port, "to nobody"));
  expectRelayed(client, target, "question");  // comes after it through the same socket
  expectRelayed(target, client, "answer");
  EXPECT_EQ(engine.capturedTexts(),
            (Lines{newClientText(client), L"[UDP] C->S  ", L"[UDP] S->C  "}));
  EXPECT_EQ(messagesSinceStart(), Lines{newClientText(client)});
}

TEST_F(UdpForwarderTest, LetsClientsTakeTurnsAndAnswersTheLastOne) {
  const Socket other = test::udpOnLoopback();
  const Lines newClients{newClientText(client), newClientText(other), newClientText(client)};

  expectRelayed(client, target, "first");
  expectRelayed(other, target, "second");
  expectRelayed(target, other, "to the second");
  expectRelayed(client, target, "first again");
  expectRelayed(target, client, "to the first");

  EXPECT_EQ(messagesSinceStart(), newClients);
  EXPECT_EQ(engine.capturedTexts(),
            (Lines{newClients[0], L"[UDP] C->S  ", newClients[1], L"[UDP] C->S  ", L"[UDP] S->C  ",
                   newClients[2], L"[UDP] C->S  ", L"[UDP] S->C  "}));
  EXPECT_TRUE(test::staysQuiet(other));
}

TEST_F(UdpForwarderTest, ReportsAClientThatSendsTwiceOnce) {
  expectRelayed(client, target, "first");
  expectRelayed(client, target, "second");
  expectRelayed(target, client, "answer");
  expectRelayed(client, target, "third");
  EXPECT_EQ(messagesSinceStart(), Lines{newClientText(client)});
  EXPECT_EQ(engine.capturedTexts(), (Lines{newClientText(client), L"[UDP] C->S  ", L"[UDP] C->S  ",
                                           L"[UDP] S->C  ", L"[UDP] C->S  "}));
}

TEST_F(UdpForwarderTest, TakesAnotherPortOfTheTargetsAddressForAClient) {
  const Socket sameAddress = test::udpOnLoopback();
  expectRelayed(client, target, "question");
  expectRelayed(sameAddress, target, "not a reply");
  EXPECT_EQ(messagesSinceStart(), (Lines{newClientText(client), newClientText(sameAddress)}));
}

TEST_F(UdpForwarderTest, RelaysTheLargestDatagramWholeAndCapturesItsStart) {
  const std::string largest = countingText(kLargestDatagram);
  expectRelayed(client, target, largest);
  expectRelayed(target, client, largest);
  EXPECT_EQ(engine.capturedTexts(),
            (Lines{newClientText(client), L"[UDP] C->S  (truncated)", L"[UDP] S->C  (truncated)"}));
  const auto records = engine.state().monitor.snapshot(kIndex);
  EXPECT_EQ(textOf(records[1].payload), largest.substr(0, 4096));
  EXPECT_EQ(textOf(records[2].payload), largest.substr(0, 4096));
}

TEST_F(UdpForwarderTest, RelaysDatagramsOfEverySizeAtTheEdges) {
  for (const std::size_t size : {1U, 2U, 511U, 512U, 1472U, 1473U, 4096U, 4097U, 8192U, 65506U}) {
    expectRelayed(client, target, countingText(size));
    expectRelayed(target, client, countingText(size));
  }
}

TEST_F(UdpForwarderTest, IgnoresEmptyDatagrams) {
  const Socket other = test::udpOnLoopback();
  ASSERT_TRUE(sendDatagramTo(other, port, ""));
  expectRelayed(client, target, "question");
  ASSERT_TRUE(sendDatagramTo(other, port, ""));  // does not take the client's place
  ASSERT_TRUE(sendDatagramTo(target, port, ""));
  expectRelayed(target, client, "answer");
  EXPECT_EQ(messagesSinceStart(), Lines{newClientText(client)});
  EXPECT_EQ(engine.capturedTexts(),
            (Lines{newClientText(client), L"[UDP] C->S  ", L"[UDP] S->C  "}));
  EXPECT_TRUE(test::staysQuiet(other));
}

TEST_F(UdpForwarderTest, KeepsDatagramsApartAndInTheirOrder) {
  for (int i = 0; i < 50; ++i) ASSERT_TRUE(sendDatagramTo(client, port, std::to_string(i)));
  for (int i = 0; i < 50; ++i) {
    const auto datagram = receiveNextDatagram(target);
    ASSERT_TRUE(datagram);
    EXPECT_EQ(datagram->text, std::to_string(i));
  }
}

TEST_F(UdpForwarderTest, GoesOnAndLogsNothingAfterATargetThatRefused) {
  const std::uint16_t samePort = test::localPort(target);
  target.close();
  for (int i = 0; i < 3; ++i) ASSERT_TRUE(sendDatagramTo(client, port, "lost"));
  ASSERT_TRUE(test::eventually([&] { return engine.capturedTexts().size() == 4; }));

  target = platform::openIpv4Socket(Transport::udp);
  ASSERT_TRUE(test::bindTo(target, test::loopback(samePort)));
  expectRelayed(client, target, "question");
  expectRelayed(target, client, "answer");
  EXPECT_EQ(messagesSinceStart(), Lines{newClientText(client)});
}

TEST_F(UdpForwarderTest, GoesOnAndLogsNothingAfterAClientThatHasGone) {
  Socket gone = test::udpOnLoopback();
  const std::uint16_t gonePort = test::localPort(gone);
  expectRelayed(gone, target, "question");
  gone.close();
  ASSERT_TRUE(sendDatagramTo(target, port, "too late"));
  expectRelayed(client, target, "question");
  expectRelayed(target, client, "answer");
  EXPECT_EQ(messagesSinceStart(), (Lines{newClientText(gonePort), newClientText(client)}));
}

TEST_F(UdpForwarderTest, StopsWithinOnePollWhenNothingArrives) {
  const auto start = std::chrono::steady_clock::now();
  engine.stop();
  EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(1500));
  EXPECT_EQ(engine.countOf(L"[UDP] Stopped local port " + local), 1U);
}

TEST_F(UdpForwarderTest, StopsWhileDatagramsFloodIn) {
  std::jthread flood([&](const std::stop_token& ended) {
    while (!ended.stop_requested()) static_cast<void>(sendDatagramTo(client, port, "flood"));
  });
  ASSERT_TRUE(engine.waitFor(newClientText(client)));
  const auto start = std::chrono::steady_clock::now();
  engine.stop();
  EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(1500));
  EXPECT_EQ(engine.countOf(L"[UDP] Stopped local port " + local), 1U);
}

TEST_F(UdpForwarderTest, ForgetsItsClientWithAStop) {
  expectRelayed(client, target, "question");
  engine.stop();
  engine.state().server.start();
  ASSERT_TRUE(engine.waitFor(
      L"[UDP] Listening on local port " + local + L" -> 127.0.0.1:" + targetPort, 2));
  ASSERT_TRUE(sendDatagramTo(target, port, "to nobody"));
  expectRelayed(client, target, "question");
  EXPECT_EQ(engine.countOf(newClientText(client)), 2U);
  EXPECT_TRUE(test::staysQuiet(client));
}

TEST_F(UdpForwarderTest, KeepsItsRuleWhileTheTableChanges) {
  engine.setRule(ruleFor(Protocol::udp, port, 9), kIndex);
  expectRelayed(client, target, "question");
  EXPECT_EQ(messagesSinceStart(), Lines{newClientText(client)});
}

TEST_F(UdpForwarderTest, LosesNoneOfManyExchangesWhileCapturingGoesOnAndOff) {
  std::jthread capturing([&](const std::stop_token& ended) {
    while (!ended.stop_requested()) {
      TrafficMonitor& monitor = engine.state().monitor;
      monitor.choose(monitor.isCapturing() ? kFilterOff : kFilterAll);
      monitor.clearAll();
      std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
  });
  for (int i = 0; i < 1000; ++i) {
    expectRelayed(client, target, std::to_string(i));
    expectRelayed(target, client, std::to_string(i));
    if (HasFatalFailure()) break;
  }
}

// A worker's body called directly, so that what it leaves behind can be seen.
class UdpWorkerTest : public testing::Test {
 protected:
  void run(const ForwardRule& rule) {
    SharedState& state = engine.state();
    runUdpRule({running, active, {state.log, state.monitor}}, 0, rule);
  }

  // Expects that the worker returns by itself.
  void runToItsEnd(const ForwardRule& rule) {
    test::expectReturns([&] { run(rule); }, [&] { running = false; });
  }

  // Whether the port can be had for all local addresses.
  [[nodiscard]] static bool isFree(std::uint16_t port) {
    const Socket socket = platform::openIpv4Socket(Transport::udp);
    return platform::bindToAllIpv4(socket, port);
  }

  TestEngine engine;
  std::atomic<bool> running{true};
  std::atomic<bool> active{false};
  const std::uint16_t port = test::freePort(Transport::udp);
  const std::wstring local = std::to_wstring(port);
};

TEST_F(UdpWorkerTest, LogsThatItsPortCannotBeBound) {
  const Socket taken = test::holdPort(Transport::udp);
  runToItsEnd(ruleFor(Protocol::udp, test::localPort(taken), 9));
  EXPECT_EQ(engine.messages(), Lines{L"[UDP] Failed to bind on local port " +
                                     std::to_wstring(test::localPort(taken))});
  EXPECT_FALSE(active);
}

TEST_F(UdpWorkerTest, LogsThatItsTargetIsNoAddress) {
  runToItsEnd(ruleFor(Protocol::udp, port, 9, L"localhost"));
  EXPECT_EQ(engine.messages(), Lines{L"[UDP] Invalid target IP: localhost"});
  EXPECT_FALSE(active);
  EXPECT_TRUE(isFree(port));
}

TEST_F(UdpWorkerTest, TakesOnlyDottedAddressesForTargets) {
  const Lines notDotted{L"", L"::1", L"127.0.0.1 ", L" 127.0.0.1", L"127.1", L"1.2.3.256"};
  Lines expected;
  for (const std::wstring& targetIp : notDotted) {
    runToItsEnd(ruleFor(Protocol::udp, port, 9, targetIp));
    expected.push_back(L"[UDP] Invalid target IP: " + targetIp);
  }
  EXPECT_EQ(engine.messages(), expected);
}

TEST_F(UdpWorkerTest, BindsItsPortBeforeItLooksAtItsTarget) {
  const Socket taken = test::holdPort(Transport::udp);
  runToItsEnd(ruleFor(Protocol::udp, test::localPort(taken), 9, L"localhost"));
  EXPECT_EQ(engine.messages(), Lines{L"[UDP] Failed to bind on local port " +
                                     std::to_wstring(test::localPort(taken))});
}

TEST_F(UdpWorkerTest, ReportsItsStopEvenWhenItIsStoppedAtOnce) {
  running = false;
  run(ruleFor(Protocol::udp, port, 9, L"192.0.2.1"));
  EXPECT_EQ(engine.messages(),
            (Lines{L"[UDP] Listening on local port " + local + L" -> 192.0.2.1:9",
                   L"[UDP] Stopped local port " + local}));
  EXPECT_FALSE(active);
  EXPECT_TRUE(isFree(port));
}

TEST_F(UdpWorkerTest, IsActiveWheneverItLogsSomething) {
  running = false;
  std::vector<bool> activeAtLines;
  engine.notifier().onLine = [&] { activeAtLines.push_back(active); };
  run(ruleFor(Protocol::udp, port, 9));
  EXPECT_EQ(activeAtLines, (std::vector{true, true}));  // listening, stopped
  run(ruleFor(Protocol::udp, port, 9, L"localhost"));
  EXPECT_EQ(activeAtLines, (std::vector{true, true, true}));
}

TEST_F(UdpWorkerTest, ClosesItsSocketBeforeItLogsItsStop) {
  running = false;
  std::vector<bool> freeAtLines;
  engine.notifier().onLine = [&] { freeAtLines.push_back(isFree(port)); };
  run(ruleFor(Protocol::udp, port, 9));
  EXPECT_EQ(freeAtLines, (std::vector{false, true}));  // listening, stopped
}

TEST_F(UdpWorkerTest, IsActiveFromItsStartToItsEnd) {
  std::thread worker([&] { run(ruleFor(Protocol::udp, port, 9)); });
  EXPECT_TRUE(engine.waitFor(L"[UDP] Listening on local port " + local + L" -> 127.0.0.1:9"));
  EXPECT_TRUE(active);
  running = false;
  worker.join();
  EXPECT_FALSE(active);
}

TEST_F(UdpWorkerTest, LogsAClientBeforeItCapturesIt) {
  engine.state().monitor.choose(kFilterAll);
  std::vector<std::size_t> capturedAtLines;
  engine.notifier().onLine = [&] { capturedAtLines.push_back(engine.capturedTexts().size()); };
  const Socket target = test::udpOnLoopback();
  const Socket client = test::udpOnLoopback();
  std::thread worker([&] { run(ruleFor(Protocol::udp, port, test::localPort(target))); });
  EXPECT_NE(engine.waitForPrefix(L"[UDP] Listening"), L"");
  EXPECT_TRUE(sendDatagramTo(client, port, "x"));
  EXPECT_TRUE(receiveNextDatagram(target));
  running = false;
  worker.join();
  EXPECT_EQ(capturedAtLines, (std::vector<std::size_t>{0, 0, 2}));  // listening, client, stopped
}

TEST_F(UdpWorkerTest, CapturesADatagramBeforeItSendsIt) {
  engine.state().monitor.choose(kFilterAll);
  engine.notifier().monitorOpen = true;
  const Socket target = test::udpOnLoopback();
  const Socket client = test::udpOnLoopback();
  std::vector<bool> isSent;  // at each record
  engine.notifier().onRecords = [&] {
    isSent.push_back(!test::staysQuiet(target, 0ms) || !test::staysQuiet(client, 0ms));
    engine.state().monitor.beginRefresh();  // so that the next record brings a notice too
  };
  std::thread worker([&] { run(ruleFor(Protocol::udp, port, test::localPort(target))); });
  EXPECT_NE(engine.waitForPrefix(L"[UDP] Listening"), L"");
  EXPECT_TRUE(sendDatagramTo(client, port, "question"));
  EXPECT_TRUE(receiveNextDatagram(target));
  EXPECT_TRUE(sendDatagramTo(target, port, "answer"));
  EXPECT_TRUE(receiveNextDatagram(client));
  running = false;
  worker.join();
  EXPECT_EQ(isSent, (std::vector{false, false, false}));  // client, question, answer
}

// A worker that is held in its line about its client, with that one's first datagram not yet sent,
// until letGo(). What is sent to it meanwhile is there all at once.
class UdpBurstTest : public UdpWorkerTest {
 protected:
  void SetUp() override {
    platform::askForReceiveBuffer(target, 1024 * 1024);
    platform::askForReceiveBuffer(client, 1024 * 1024);
    engine.state().monitor.choose(kFilterAll);
    engine.notifier().onLine = [this] {
      if (engine.notifier().lineNotices > 2) return onLaterLine();
      if (engine.notifier().lineNotices < 2) return;
      held_.set_value();
      letGo_.get_future().wait();
    };
    worker_ = std::thread([this] { run(ruleFor(Protocol::udp, port, test::localPort(target))); });
    ASSERT_NE(engine.waitForPrefix(L"[UDP] Listening"), L"");
    ASSERT_TRUE(sendDatagramTo(client, port, "first"));
    ASSERT_EQ(held_.get_future().wait_for(test::kDeadline), std::future_status::ready);
  }

  void TearDown() override {
    letGo();
    running = false;
    if (worker_.joinable()) worker_.join();
  }

  void letGo() {
    if (!std::exchange(isLetGo_, true)) letGo_.set_value();
  }

  // How many datagrams have come to the target and were not counted yet.
  std::size_t countAtTarget() {
    std::size_t count = 0;
    while (test::isReadable(target) && receiveNextDatagram(target)) ++count;
    return count;
  }

  // Calls `onRecord` in the worker for every record.
  void watchRecords(std::function<void()> onRecord) {
    engine.notifier().monitorOpen = true;
    engine.notifier().onRecords = [this, onRecord = std::move(onRecord)] {
      engine.state().monitor.beginRefresh();  // so that the next record brings a notice too
      onRecord();
    };
  }

  const Socket target = test::udpOnLoopback();
  const Socket client = test::udpOnLoopback();
  std::function<void()> onLaterLine = [] {};

 private:
  std::promise<void> held_;
  std::promise<void> letGo_;
  bool isLetGo_ = false;
  std::thread worker_;
};

TEST_F(UdpBurstTest, LosesNone) {
  constexpr int kBurst = 120;  // more than the systems' own receive buffers hold
  for (int i = 0; i < kBurst; ++i) {
    EXPECT_TRUE(sendDatagramTo(client, port, countingText(1400)));
  }
  letGo();
  for (int i = 0; i < 1 + kBurst && !testing::Test::HasFailure(); ++i) {
    EXPECT_TRUE(receiveNextDatagram(target)) << "datagram " << i;
  }
}

TEST_F(UdpBurstTest, RelaysEverySizeBothWaysInItsOrder) {
  struct Sent {
    bool isReply;
    std::size_t size;
    int count;
  };
  std::vector<std::string> questions{"first"};
  std::vector<std::string> answers;
  std::vector<std::pair<std::wstring, std::string>> records;  // text and payload
  records.emplace_back(L"[UDP] C->S  ", "first");
  int number = 0;
  for (const auto [isReply, size, count] : {Sent{false, 64, 19},
                                            {true, 64, 3},
                                            {false, 64, 1},
                                            {true, 64, 1},
                                            {false, 0, 1},
                                            {true, 1400, 8},
                                            {true, 1399, 2},
                                            {false, 1, 2},
                                            {false, 8200, 8},
                                            {false, 33000, 2},
                                            {true, 3, 9},
                                            {false, kLargestDatagram, 1},
                                            {false, 64, 2}}) {
    for (int i = 0; i < count; ++i) {
      std::string text = countingText(size);
      if (!text.empty()) text[0] = static_cast<char>(++number);
      ASSERT_TRUE(sendDatagramTo(isReply ? target : client, port, text));
      if (text.empty()) continue;  // those are not relayed
      (isReply ? answers : questions).push_back(text);
      records.emplace_back(isReply ? L"[UDP] S->C  " : L"[UDP] C->S  ", text.substr(0, 4096));
      if (size > 4096) records.back().first += L"(truncated)";
    }
  }
  letGo();
  const auto expectAll = [&](const Socket& receiver, const std::vector<std::string>& texts) {
    for (const std::string& text : texts) {
      const auto datagram = receiveNextDatagram(receiver);
      ASSERT_TRUE(datagram);
      EXPECT_TRUE(datagram->text == text) << datagram->text.size() << " bytes of " << text.size();
      EXPECT_EQ(datagram->senderPort, port);
    }
    EXPECT_TRUE(test::staysQuiet(receiver));
  };
  expectAll(target, questions);
  expectAll(client, answers);
  const auto captured = engine.state().monitor.snapshot(0);
  ASSERT_EQ(captured.size(), 1 + records.size());  // the first is the client's
  for (std::size_t i = 0; i < records.size(); ++i) {
    EXPECT_TRUE(captured[i + 1].text == records[i].first) << "record " << i;
    EXPECT_TRUE(textOf(captured[i + 1].payload) == records[i].second) << "record " << i;
  }
}

TEST_F(UdpBurstTest, CapturesEachBeforeItIsSent) {
  constexpr std::size_t kBurst = 20;
  for (std::size_t i = 0; i < kBurst; ++i) ASSERT_TRUE(sendDatagramTo(client, port, "same size"));
  std::size_t captured = 0;  // without the client
  std::size_t sent = 0;
  std::atomic<int> tooEarly{0};
  watchRecords([&, isClient = true]() mutable {
    sent += countAtTarget();
    if (sent > captured) ++tooEarly;
    if (!std::exchange(isClient, false)) ++captured;
  });
  letGo();
  EXPECT_TRUE(test::eventually([&] { return engine.capturedTexts().size() == 2 + kBurst; }));
  TearDown();
  EXPECT_EQ(sent + countAtTarget(), 1 + kBurst);
  EXPECT_EQ(tooEarly, 0);
}

TEST_F(UdpBurstTest, IsSentAsFarAsItIsCapturedWhenTheServerStops) {
  for (int i = 0; i < 20; ++i) ASSERT_TRUE(sendDatagramTo(client, port, "same size"));
  watchRecords([&, records = 0]() mutable {
    if (++records == 13) running = false;
  });
  letGo();
  EXPECT_TRUE(test::eventually([&] { return !active; }));
  EXPECT_EQ(engine.capturedTexts().size(), 13U);  // the client and twelve
  EXPECT_EQ(countAtTarget(), 12U);
}

TEST_F(UdpBurstTest, OfOneClientIsSentBeforeTheNextOneIsReported) {
  const Socket other = test::udpOnLoopback();
  for (int i = 0; i < 4; ++i) ASSERT_TRUE(sendDatagramTo(client, port, "5 b.."));
  ASSERT_TRUE(sendDatagramTo(other, port, "5 b.."));
  std::atomic<std::size_t> sentAtLine{0};
  onLaterLine = [&] { sentAtLine = sentAtLine + countAtTarget(); };
  letGo();
  EXPECT_TRUE(test::eventually([&] { return sentAtLine > 0; }));
  EXPECT_EQ(sentAtLine, 5U);
  EXPECT_TRUE(receiveNextDatagram(target));
  onLaterLine = [] {};
}

}  // namespace
}  // namespace quillgate
