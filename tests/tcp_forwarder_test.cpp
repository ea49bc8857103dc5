#include "forwarding/tcp_forwarder.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <chrono>
#include <future>
#include <optional>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "forwarding/socket_address.h"
#include "tests/support/bytes.h"
#include "tests/support/test_engine.h"
#include "tests/support/test_sockets.h"

namespace quillgate {
namespace {

using namespace std::chrono_literals;
using platform::Socket;
using platform::Transport;
using test::acceptFrom;
using test::connectToLoopback;
using test::randomBytes;
using test::receiveExactly;
using test::ruleFor;
using test::sendAll;
using test::StreamEnd;
using test::TestEngine;
using Lines = std::vector<std::wstring>;

// A rule with a listening target behind it, and the server started.
class TcpForwarderTest : public testing::Test {
 protected:
  void SetUp() override {
    engine.setRule(ruleFor(Protocol::tcp, port, test::localPort(target)), 3);
    engine.state().server.start();
    ASSERT_TRUE(
        engine.waitFor(L"[TCP] Listening on local port " + local + L" -> 127.0.0.1:" + targetPort));
  }

  // A client, the connection it got at the target, and its address as text.
  struct Session {
    Socket client;
    Socket server;
    std::wstring peer;
  };
  Session open() {
    Session session;
    session.client = connectToLoopback(port);
    session.server = acceptFrom(target);
    EXPECT_TRUE(session.client.isOpen() && session.server.isOpen());
    session.peer = L"127.0.0.1:" + std::to_wstring(test::localPort(session.client));
    EXPECT_TRUE(engine.waitFor(L"[TCP] FROM " + session.peer + route));
    return session;
  }
  [[nodiscard]] std::wstring closedText(const Session& session) const {
    return L"[TCP] Session closed FROM " + session.peer + L" (local " + local + L")";
  }

  TestEngine engine;
  const Socket target = test::listenOnLoopback();
  const std::uint16_t port = test::freePort(Transport::tcp);
  const std::wstring local = std::to_wstring(port);
  const std::wstring targetPort = std::to_wstring(test::localPort(target));
  const std::wstring route = L"  local " + local + L" -> 127.0.0.1:" + targetPort;
};

TEST_F(TcpForwarderTest, RelaysBothDirectionsOfAClient) {
  const Session session = open();
  ASSERT_TRUE(sendAll(session.client, "request"));
  EXPECT_EQ(receiveExactly(session.server, 7), "request");
  ASSERT_TRUE(sendAll(session.server, "a longer reply"));
  EXPECT_EQ(receiveExactly(session.client, 14), "a longer reply");
}

TEST_F(TcpForwarderTest, LogsASessionFromItsStartToItsEnd) {
  Session session = open();
  Lines expected{L"Starting server...", L"Server started.",
                 L"[TCP] Listening on local port " + local + L" -> 127.0.0.1:" + targetPort,
                 L"[TCP] FROM " + session.peer + route};
  // The server and its worker write their lines side by side.
  const Lines& messages = engine.messages();
  if (messages.at(1) != expected[1]) std::swap(expected[1], expected[2]);
  EXPECT_EQ(messages, expected);

  session.client.close();
  EXPECT_TRUE(test::staysQuiet(session.server));  // the session goes on with the other direction
  EXPECT_EQ(engine.messages(), expected);

  session.server.close();
  EXPECT_TRUE(engine.waitFor(closedText(session)));
  expected.push_back(closedText(session));
  EXPECT_EQ(engine.messages(), expected);
}

TEST_F(TcpForwarderTest, CapturesASessionFromItsStartToItsEnd) {
  engine.state().monitor.choose(kFilterAll);
  Session session = open();
  ASSERT_TRUE(sendAll(session.client, "up"));
  EXPECT_EQ(receiveExactly(session.server, 2), "up");
  ASSERT_TRUE(sendAll(session.server, "down"));
  EXPECT_EQ(receiveExactly(session.client, 4), "down");
  session.client.close();
  session.server.close();
  ASSERT_TRUE(test::eventually([&] { return engine.capturedTexts().size() == 4; }));
  EXPECT_EQ(engine.capturedTexts(),
            (Lines{L"[TCP] SESSION FROM " + session.peer + route,
                   L"[TCP] C->S FROM " + session.peer + L"  ",
                   L"[TCP] S->C FROM " + session.peer + L"  ", closedText(session)}));
  EXPECT_EQ(engine.capturedTexts(3), engine.capturedTexts());
  EXPECT_TRUE(engine.capturedTexts(2).empty());

  const auto records = engine.state().monitor.snapshot(3);
  const auto payload = [&](std::size_t index) {
    std::string text;
    for (const std::byte b : records[index].payload) text += static_cast<char>(b);
    return text;
  };
  EXPECT_EQ(payload(0), "");
  EXPECT_EQ(payload(1), "up");
  EXPECT_EQ(payload(2), "down");
  EXPECT_EQ(payload(3), "");
}

TEST_F(TcpForwarderTest, CapturesChunksOfAtMostARelayBufferAndCutsTheirPayload) {
  engine.state().monitor.choose(kFilterAll);
  const Session session = open();
  const std::string sent(100'000, 'x');
  std::thread sender([&] { EXPECT_TRUE(sendAll(session.client, sent)); });
  EXPECT_EQ(receiveExactly(session.server, sent.size()), sent);
  sender.join();

  const auto records = engine.state().monitor.snapshot(kFilterAll);
  const std::wstring label = L"[TCP] C->S FROM " + session.peer + L"  ";
  std::size_t cut = 0;
  for (std::size_t i = 1; i < records.size(); ++i) {
    const bool full = records[i].payload.size() == kMaxPayloadBytes;
    EXPECT_LE(records[i].payload.size(), kMaxPayloadBytes);
    EXPECT_TRUE(records[i].text == label || (full && records[i].text == label + L"(truncated)"));
    if (records[i].text != label) ++cut;
  }
  EXPECT_GE(records.size() - 1, sent.size() / 8192);
  EXPECT_GT(cut, 0U);
}

TEST_F(TcpForwarderTest, CapturesNothingWhileCapturingIsOff) {
  const Session session = open();
  ASSERT_TRUE(sendAll(session.client, "x"));
  EXPECT_EQ(receiveExactly(session.server, 1), "x");
  EXPECT_TRUE(engine.capturedTexts().empty());
}

TEST_F(TcpForwarderTest, KeepsTheOtherDirectionOpenWhenOneHasEnded) {
  const Session session = open();
  ASSERT_TRUE(sendAll(session.client, "last words"));
  test::closeSendingSide(session.client);
  EXPECT_EQ(receiveExactly(session.server, 10), "last words");
  for (int i = 0; i < 3; ++i) {
    ASSERT_TRUE(sendAll(session.server, "still here"));
    EXPECT_EQ(receiveExactly(session.client, 10), "still here");
  }
  EXPECT_EQ(engine.countOf(closedText(session)), 0U);
}

TEST_F(TcpForwarderTest, PassesNoEndOfStreamOn) {
  const Session session = open();
  test::closeSendingSide(session.client);
  EXPECT_TRUE(test::staysQuiet(session.server));
}

TEST_F(TcpForwarderTest, ClosesASessionWhenTheTargetEndsAndTheClientFollows) {
  Session session = open();
  session.server.close();
  test::closeSendingSide(session.client);
  EXPECT_TRUE(engine.waitFor(closedText(session)));
  EXPECT_EQ(test::receiveUntilEnd(session.client), StreamEnd::orderly);
}

TEST_F(TcpForwarderTest, EndsADirectionWhenItsReceiverIsGone) {
  Session session = open();
  test::resetConnection(std::move(session.client));
  // The direction to the client ends with the first send that fails; the other one ended by the
  // reset.
  EXPECT_TRUE(test::eventually([&] {
    static_cast<void>(sendAll(session.server, "x"));
    return engine.countOf(closedText(session)) == 1;
  }));
}

TEST_F(TcpForwarderTest, ServesClientsSideBySide) {
  std::vector<Session> sessions;
  for (int i = 0; i < 20; ++i) sessions.push_back(open());
  for (std::size_t i = 0; i < sessions.size(); ++i) {
    ASSERT_TRUE(sendAll(sessions[i].client, std::to_string(1000 + i)));
  }
  for (std::size_t i = sessions.size(); i-- > 0;) {
    EXPECT_EQ(receiveExactly(sessions[i].server, 4), std::to_string(1000 + i));
  }
}

TEST_F(TcpForwarderTest, KeepsHundredsOfSessionsOpenAtOnce) {
  std::vector<Session> sessions;
  for (int i = 0; i < 500; ++i) {
    sessions.push_back({connectToLoopback(port), acceptFrom(target), L""});
  }
  for (std::size_t i = 0; i < sessions.size(); ++i) {
    ASSERT_TRUE(sendAll(sessions[i].client, std::to_string(1000 + i)));
    ASSERT_EQ(receiveExactly(sessions[i].server, 4), std::to_string(1000 + i));
  }
  sessions.clear();
  EXPECT_TRUE(test::eventually([&] {
    const Lines& messages = engine.messages();
    return std::ranges::count_if(messages, [](const std::wstring& message) {
             return message.starts_with(L"[TCP] Session closed FROM 127.0.0.1:");
           }) == 500;
  }));
}

TEST_F(TcpForwarderTest, GoesOnForwardingAfterTheServerHasStopped) {
  const Session session = open();
  engine.stop();
  EXPECT_EQ(engine.countOf(L"[TCP] Stopped local port " + local), 1U);
  ASSERT_TRUE(sendAll(session.client, "after the stop"));
  EXPECT_EQ(receiveExactly(session.server, 14), "after the stop");
  ASSERT_TRUE(sendAll(session.server, "still"));
  EXPECT_EQ(receiveExactly(session.client, 5), "still");
  EXPECT_FALSE(connectToLoopback(port).isOpen());
}

TEST_F(TcpForwarderTest, KeepsTheTargetOfASessionWhenItsRuleChanges) {
  const Session session = open();
  const Socket other = test::listenOnLoopback();
  engine.setRule(ruleFor(Protocol::tcp, port, test::localPort(other)), 3);
  engine.stop();
  engine.state().server.start();
  ASSERT_TRUE(engine.waitFor(L"[TCP] Listening on local port " + local + L" -> 127.0.0.1:" +
                             std::to_wstring(test::localPort(other))));
  ASSERT_TRUE(sendAll(session.client, "old"));
  EXPECT_EQ(receiveExactly(session.server, 3), "old");
  const Socket client = connectToLoopback(port);
  ASSERT_TRUE(sendAll(client, "new"));
  EXPECT_EQ(receiveExactly(acceptFrom(other), 3), "new");
}

TEST_F(TcpForwarderTest, MovesRandomBytesBothWaysAtOnceUnchanged) {
  constexpr std::size_t kSize = 32 << 20;
  const Session session = open();
  const std::string up = randomBytes(1, kSize);
  const std::string down = randomBytes(2, kSize);
  std::thread clientSends([&] { EXPECT_TRUE(sendAll(session.client, up)); });
  std::thread serverSends([&] { EXPECT_TRUE(sendAll(session.server, down)); });
  std::thread serverReceives([&] { EXPECT_TRUE(receiveExactly(session.server, kSize) == up); });
  EXPECT_TRUE(receiveExactly(session.client, kSize) == down);
  clientSends.join();
  serverSends.join();
  serverReceives.join();
}

TEST_F(TcpForwarderTest, DeliversEverythingSentBeforeTheEnd) {
  constexpr std::size_t kSize = 8 << 20;
  const Session session = open();
  const std::string sent = randomBytes(3, kSize);
  std::thread sender([&] {
    EXPECT_TRUE(sendAll(session.client, sent));
    test::closeSendingSide(session.client);
  });
  EXPECT_TRUE(receiveExactly(session.server, kSize) == sent);
  sender.join();
}

// A listener's body called directly.
class TcpListenerTest : public testing::Test {
 protected:
  void run(const ForwardRule& ownRule) {
    SharedState& state = engine.state();
    runTcpListener({running, active, {state.log, state.monitor}}, 0, ownRule);
  }

  // Expects that the listener returns by itself.
  void runToItsEnd(const ForwardRule& ownRule) {
    test::expectReturns([&] { run(ownRule); }, [&] { running = false; });
  }

  TestEngine engine;
  std::atomic<bool> running{true};
  std::atomic<bool> active{false};
  const std::uint16_t port = test::freePort(Transport::tcp);
  const std::wstring local = std::to_wstring(port);
  ForwardRule rule = ruleFor(Protocol::tcp, port, 9);
};

TEST_F(TcpListenerTest, LogsThatItsPortCannotBeBound) {
  const Socket taken = test::holdPort(Transport::tcp);
  runToItsEnd(ruleFor(Protocol::tcp, test::localPort(taken), 9));
  EXPECT_FALSE(active);
  EXPECT_EQ(engine.messages(), Lines{L"[TCP] Failed to bind/listen on local port " +
                                     std::to_wstring(test::localPort(taken))});
}

TEST_F(TcpListenerTest, ReportsItsStopEvenWhenItIsStoppedAtOnce) {
  running = false;
  run(rule);
  EXPECT_FALSE(active);
  EXPECT_EQ(engine.messages(),
            (Lines{L"[TCP] Listening on local port " + local + L" -> 127.0.0.1:9",
                   L"[TCP] Stopped local port " + local}));
}

TEST_F(TcpListenerTest, IsActiveWheneverItLogsSomething) {
  std::vector<bool> activeAtLines;
  engine.notifier().onLine = [&] { activeAtLines.push_back(active); };
  const Socket taken = test::holdPort(Transport::tcp);
  runToItsEnd(ruleFor(Protocol::tcp, test::localPort(taken), 9));
  EXPECT_EQ(activeAtLines, std::vector{true});
  running = false;
  run(rule);
  EXPECT_EQ(activeAtLines, (std::vector{true, true, true}));  // listening, stopped
}

TEST_F(TcpListenerTest, ClosesItsSocketBeforeItLogsItsStop) {
  std::vector<bool> freeAtLines;
  engine.notifier().onLine = [&] {
    freeAtLines.push_back(platform::bindToAllIpv4(platform::openIpv4Socket(Transport::tcp), port));
  };
  running = false;
  run(rule);
  EXPECT_EQ(freeAtLines, (std::vector{false, true}));  // listening, stopped
}

TEST_F(TcpListenerTest, TakesNoClientThatComesAfterTheStop) {
  const Socket target = test::listenOnLoopback();
  rule.targetPort = test::localPort(target);
  // Between the listener's look at the flag and its accept, a stop comes too late for a client. It
  // waits for nearly all of its time, so this is rare.
  int taken = 0;
  for (std::size_t round = 1; round <= 5; ++round) {
    running = true;
    std::thread listener([&] { run(rule); });
    EXPECT_TRUE(engine.waitFor(
        L"[TCP] Listening on local port " + local + L" -> " + targetText(rule), round));
    EXPECT_TRUE(test::staysQuiet(target, 20ms));  // time to begin the wait
    running = false;
    const Socket client = connectToLoopback(port);  // not open where the listener has gone already
    listener.join();

    // A client that still queues ends with the listener; one that was taken reaches the target.
    EXPECT_TRUE(test::eventually([&] {
      return !client.isOpen() || !test::staysQuiet(client, 1ms) || !test::staysQuiet(target, 1ms);
    }));
    if (!test::staysQuiet(target, 0ms)) taken += test::acceptFrom(target).isOpen() ? 1 : 0;
  }
  EXPECT_LE(taken, 1);
}

// One session without a listener: its client's end, and what was reported.
class TcpSessionTest : public testing::Test {
 protected:
  void SetUp() override { engine.state().monitor.choose(kFilterAll); }

  void run(const ForwardRule& rule, const platform::SocketAddress& from) {
    runTcpSession({engine.state().log, engine.state().monitor}, 2, std::move(pair.server), from,
                  rule);
  }

  // Expects that the session ends though its client stays.
  void runToItsEnd(const ForwardRule& rule, const platform::SocketAddress& from) {
    test::expectReturns([&] { run(rule, from); }, [&] { pair.client.close(); });
  }

  // Expects that a session reaches a target on this machine by this name and relays what that
  // sends; returns the target's port. Which address of a name comes first, one of IPv4 or of IPv6,
  // is the system's choice.
  std::uint16_t reachTargetAt(const std::wstring& name) {
    const auto first = platform::resolveFirst(name, L"0");
    EXPECT_TRUE(first);
    if (!first) return 0;
    const Socket target = platform::openTcpSocketFor(*first);
    EXPECT_TRUE(test::bindTo(target, *first) && platform::startListening(target));
    const std::uint16_t port = test::localPort(target);
    std::thread session([&] { run(ruleFor(Protocol::tcp, 8080, port, name), peer); });
    Socket server = acceptFrom(target);
    EXPECT_TRUE(sendAll(server, "hello"));
    EXPECT_EQ(receiveExactly(pair.client, 5), "hello");
    server.close();
    pair.client.close();
    session.join();
    return port;
  }

  TestEngine engine;
  test::ConnectedPair pair = test::connectedPair();
  const platform::SocketAddress peer = test::loopback(40000);
};

TEST_F(TcpSessionTest, ClosesTheClientWhenTheTargetDoesNotResolve) {
  const std::wstring host(300, L'x');  // longer than any name may be
  runToItsEnd(ruleFor(Protocol::tcp, 8080, 80, host), peer);
  const std::wstring text = L"[TCP] FROM 127.0.0.1:40000  Resolve failed for " + host + L":80";
  EXPECT_EQ(engine.messages(), Lines{text});
  EXPECT_EQ(engine.capturedTexts(2), Lines{text});
  EXPECT_EQ(test::receiveUntilEnd(pair.client), StreamEnd::orderly);
}

TEST_F(TcpSessionTest, ClosesTheClientWhenTheTargetRefuses) {
  const std::uint16_t nobody = test::freePort(Transport::tcp);
  runToItsEnd(ruleFor(Protocol::tcp, 8080, nobody), peer);
  const std::wstring text =
      L"[TCP] FROM 127.0.0.1:40000  Connect failed to 127.0.0.1:" + std::to_wstring(nobody);
  EXPECT_EQ(engine.messages(), Lines{text});
  EXPECT_EQ(engine.capturedTexts(2), Lines{text});
  EXPECT_EQ(test::receiveUntilEnd(pair.client), StreamEnd::orderly);
}

TEST_F(TcpSessionTest, ShowsAnAddressThatCannotBeConvertedAsAQuestionMark) {
  const std::uint16_t nobody = test::freePort(Transport::tcp);
  runToItsEnd(ruleFor(Protocol::tcp, 8080, nobody), platform::SocketAddress{});
  EXPECT_EQ(engine.messages(),
            Lines{L"[TCP] FROM ?  Connect failed to 127.0.0.1:" + std::to_wstring(nobody)});
}

TEST_F(TcpSessionTest, ShowsThatQuestionMarkInEveryTextOfASession) {
  const Socket target = test::listenOnLoopback();
  const std::wstring targetPort = std::to_wstring(test::localPort(target));
  std::thread session([&] {
    run(ruleFor(Protocol::tcp, 8080, test::localPort(target)), platform::SocketAddress{});
  });
  Socket server = acceptFrom(target);
  EXPECT_TRUE(sendAll(pair.client, "x"));
  EXPECT_EQ(receiveExactly(server, 1), "x");
  pair.client.close();
  server.close();
  session.join();
  const std::wstring route = L"FROM ?  local 8080 -> 127.0.0.1:" + targetPort;
  EXPECT_EQ(engine.messages(),
            (Lines{L"[TCP] " + route, L"[TCP] Session closed FROM ? (local 8080)"}));
  EXPECT_EQ(engine.capturedTexts(2), (Lines{L"[TCP] SESSION " + route, L"[TCP] C->S FROM ?  ",
                                            L"[TCP] Session closed FROM ? (local 8080)"}));
}

TEST_F(TcpSessionTest, LogsWhatHappensBeforeItCapturesIt) {
  std::vector<std::size_t> capturedAtLines;
  engine.notifier().onLine = [&] { capturedAtLines.push_back(engine.capturedTexts().size()); };
  const Socket target = test::listenOnLoopback();
  pair.client.close();
  std::thread session([&] { run(ruleFor(Protocol::tcp, 8080, test::localPort(target)), peer); });
  acceptFrom(target).close();
  session.join();
  pair = test::connectedPair();
  runToItsEnd(ruleFor(Protocol::tcp, 8080, test::freePort(Transport::tcp)), peer);
  EXPECT_EQ(capturedAtLines, (std::vector<std::size_t>{0, 1, 2}));  // opened, closed, refused
}

TEST_F(TcpSessionTest, ClosesItsSocketsBeforeItLogsItsEnd) {
  const Socket target = test::listenOnLoopback();
  Socket server;
  std::promise<void> peersHaveEnded;
  std::optional<StreamEnd> clientSees;
  std::optional<StreamEnd> serverSees;
  engine.notifier().onLine = [&] {
    if (engine.notifier().lineNotices != 2) return;
    if (peersHaveEnded.get_future().wait_for(test::kDeadline) != std::future_status::ready) return;
    clientSees = test::receiveUntilEnd(pair.client);
    serverSees = test::receiveUntilEnd(server);
  };
  std::thread session([&] { run(ruleFor(Protocol::tcp, 8080, test::localPort(target)), peer); });
  server = acceptFrom(target);
  test::closeSendingSide(pair.client);
  test::closeSendingSide(server);
  peersHaveEnded.set_value();
  session.join();
  EXPECT_EQ(clientSees, StreamEnd::orderly);
  EXPECT_EQ(serverSees, StreamEnd::orderly);
}

TEST_F(TcpSessionTest, ReachesATargetWithAnIpv6Address) { reachTargetAt(L"::1"); }

TEST_F(TcpSessionTest, ReachesATargetByName) {
  const std::uint16_t port = reachTargetAt(L"localhost");
  EXPECT_EQ(engine.messages().at(0),
            L"[TCP] FROM 127.0.0.1:40000  local 8080 -> localhost:" + std::to_wstring(port));
}

TEST(RelayAndCapture, CapturesAChunkEvenIfItCannotBeSent) {
  TestEngine engine;
  engine.state().monitor.choose(kFilterAll);
  test::ConnectedPair from = test::connectedPair();
  const Socket closed;  // every send fails
  ASSERT_TRUE(sendAll(from.client, "lost"));
  EXPECT_LE(relayAndCapture(engine.state().monitor, 1, L"peer", L"C->S", from.server, closed), 0);
  EXPECT_EQ(engine.capturedTexts(1), Lines{L"[TCP] C->S FROM peer  "});
}

TEST(RelayAndCapture, ReturnsZeroWhenTheSenderEndsInOrder) {
  TestEngine engine;
  test::ConnectedPair from = test::connectedPair();
  test::ConnectedPair to = test::connectedPair();
  ASSERT_TRUE(sendAll(from.client, "all of it"));
  from.client.close();
  EXPECT_EQ(relayAndCapture(engine.state().monitor, 1, L"p", L"S->C", from.server, to.server), 0);
  EXPECT_EQ(receiveExactly(to.client, 9), "all of it");
}

TEST(RelayAndCapture, ReturnsANegativeResultWhenReceivingFails) {
  TestEngine engine;
  const Socket closed;
  EXPECT_LT(relayAndCapture(engine.state().monitor, 1, L"p", L"S->C", closed, closed), 0);
}

TEST(SocketAddressText, IsAQuestionMarkForWhatIsNoAddress) {
  EXPECT_EQ(formatSocketAddress({}), L"?");
  EXPECT_EQ(formatSocketAddress(std::array<std::byte, 16>{}), L"?");
  EXPECT_EQ(formatSocketAddress(std::array<std::byte, 129>{}), L"?");
  std::vector<std::byte> tooLong(129);
  std::ranges::copy(test::loopback(80).view(), tooLong.begin());
  EXPECT_EQ(formatSocketAddress(tooLong), L"?");
}

TEST(SocketAddressText, ShowsAddressAndPort) {
  EXPECT_EQ(formatSocketAddress(test::loopback(8080).view()), L"127.0.0.1:8080");
}

}  // namespace
}  // namespace quillgate
