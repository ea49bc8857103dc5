#include "tests/faults/relay_steps.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <chrono>
#include <utility>

#include "platform/system.h"
#include "tests/support/temp_folder.h"
#include "ui/monitor_actions.h"

namespace quillgate::test {
namespace {

using namespace std::chrono_literals;
using platform::Socket;
using platform::Transport;

constexpr std::size_t kStreamBytes = 1500;

std::string streamOf(const std::string& name) {
  std::string text;
  while (text.size() < kStreamBytes) text += name + " " + std::to_string(text.size()) + ", ";
  return text;
}

// Some of what has arrived; nothing when the stream has ended.
std::string receiveSome(const Socket& socket) {
  std::string text(kStreamBytes, '\0');
  const auto count = platform::receive(socket, std::as_writable_bytes(std::span(text)));
  text.resize(count > 0 ? static_cast<std::size_t>(count) : 0);
  return text;
}

// Whether a record has no payload: the text of one ends with two blanks, or says that it was cut.
bool isEvent(const std::wstring& text) {
  return !text.ends_with(L"  ") && !text.ends_with(L"(truncated)");
}

int acceptedClients() { return callCounts()["accept4"] - faultHits().of("accept4"); }

std::wstring endpoint(std::uint16_t port) { return L"127.0.0.1:" + std::to_wstring(port); }

// The target of the TCP rule: 127.0.0.1 in a form that only the resolver knows.
constexpr const wchar_t* kTcpTargetHost = L"127.1";

std::wstring tcpTarget(std::uint16_t port) {
  return std::wstring(kTcpTargetHost) + L":" + std::to_wstring(port);
}

}  // namespace

RuleSet RelaySteps::rules() const {
  RuleSet rules;
  rules[0] = ruleFor(Protocol::tcp, port_, targetPort_, kTcpTargetHost);
  rules[9] = ruleFor(Protocol::udp, udpPort_, udpTargetPort_);
  return rules;
}

void RelaySteps::report(const std::wstring& text) {
  lines_.push_back(text);
  events_.push_back(text);
}

// Waits for the line expected last; another session may have a line with the same text.
void RelaySteps::expectLastLine() {
  const auto times = std::ranges::count(lines_, lines_.back());
  EXPECT_TRUE(engine_.waitFor(lines_.back(), static_cast<std::size_t>(times)));
}

void RelaySteps::start() {
  const FaultHits before = faultHits();
  engine_.state().monitor.choose(kFilterAll);
  asProgram([&] { engine_.state().server.start(); });
  lines_.insert(lines_.end(), {L"Starting server...", L"Server started."});
  ASSERT_NE(engine_.waitForPrefix(L"[TCP] "), L"");
  ASSERT_NE(engine_.waitForPrefix(L"[UDP] "), L"");
  const FaultHits hits = faultHits().since(before);
  lines_.push_back(startOfTcp(hits));
  lines_.push_back(startOfUdp(hits));
  EXPECT_TRUE(eventually([&] {
    return engine_.state().server.isWorkerActive(0) == tcpListens_ &&
           engine_.state().server.isWorkerActive(9) == udpListens_;
  }));
}

std::wstring RelaySteps::startOfTcp(const FaultHits& hits) {
  const std::wstring local = std::to_wstring(port_);
  tcpListens_ =
      hits.of("socket tcp") + hits.of("bind tcp") + hits.of("fcntl") + hits.of("listen") == 0;
  return tcpListens_ ? L"[TCP] Listening on local port " + local + L" -> " + tcpTarget(targetPort_)
                     : L"[TCP] Failed to bind/listen on local port " + local;
}

std::wstring RelaySteps::startOfUdp(const FaultHits& hits) {
  const std::wstring local = std::to_wstring(udpPort_);
  udpListens_ = hits.of("socket udp") + hits.of("bind udp") == 0;
  if (hits.of("socket udp") > 0) return L"[UDP] socket() failed.";
  return udpListens_
             ? L"[UDP] Listening on local port " + local + L" -> " + endpoint(udpTargetPort_)
             : L"[UDP] Failed to bind on local port " + local;
}

RelaySession RelaySteps::openSession(const std::string& name) {
  RelaySession session;
  session.name = name;
  const FaultHits before = faultHits();
  const int acceptedBefore = acceptedClients();
  session.client = connectToLoopback(port_);
  EXPECT_EQ(session.client.isOpen(), tcpListens_);
  if (!session.client.isOpen()) return session;

  const std::uint16_t clientPort = test::localPort(session.client);
  const bool accepted = waitForTarget(session, before, acceptedBefore);
  const FaultHits hits = faultHits().since(before);
  session.clientSide = portsText(port_, clientPort);
  session.peer = endpoint(clientPort);
  if (!accepted) {
    if (!session.isWaiting) expectEnded(session, hits);
    return session;
  }
  const std::wstring route = L"FROM " + session.peer + L"  local " + std::to_wstring(port_) +
                             L" -> " + tcpTarget(targetPort_);
  lines_.push_back(L"[TCP] " + route);
  events_.push_back(L"[TCP] SESSION " + route);
  expectLastLine();
  return session;
}

// Waits for what becomes of a client: the target's connection, an end, or nothing because a call
// to accept it goes on failing, and no thread has been started for it before.
bool RelaySteps::waitForTarget(RelaySession& session, const FaultHits& before, int acceptedBefore) {
  const auto isOutOfReach = [&] {
    const FaultHits hits = faultHits().since(before);
    const std::string listener = portsText(port_, 0);
    return hits.on("accept4", listener) > 1 && acceptedClients() == acceptedBefore;
  };
  EXPECT_TRUE(eventually(
      [&] { return isReadable(target_) || isReadable(session.client) || isOutOfReach(); }));
  if (isReadable(target_)) {
    platform::SocketAddress peer;
    session.server = platform::acceptConnection(target_, peer);
    session.targetSide = portsText(portOf(peer), targetPort_);
    return true;
  }
  session.isWaiting = !isReadable(session.client);
  return false;
}

// The program has closed the client: it must have said why.
void RelaySteps::expectEnded(const RelaySession& session, const FaultHits& hits) {
  EXPECT_EQ(receiveUntilEnd(session.client), StreamEnd::orderly);
  const std::wstring from = L"[TCP] FROM " + session.peer;
  if (hits.of("getaddrinfo") > 0) {
    report(from + L"  Resolve failed for " + tcpTarget(targetPort_));
  } else if (hits.of("connect") > 0) {
    report(from + L"  Connect failed to " + tcpTarget(targetPort_));
  } else {
    EXPECT_GT(hits.of("socket tcp"), 0) << "a client was dropped for no reason";
  }
}

void RelaySteps::exchange(const RelaySession& session) {
  if (!session.server.isOpen()) return;
  expectStream(session.client, session.server, session.clientSide, session.targetSide,
               streamOf(session.name + " up"));
  expectStream(session.server, session.client, session.targetSide, session.clientSide,
               streamOf(session.name + " down"));
}

void RelaySteps::expectStream(const Socket& from, const Socket& to, const std::string& fromSide,
                              const std::string& toSide, std::string text) {
  const auto isBroken = [&] {
    const FaultHits hits = faultHits();
    return hits.on("recv", fromSide) + hits.on("send", toSide) > 0;
  };
  // A stream that is late once will be late again.
  if (isBroken() || testing::Test::HasFailure()) return;
  EXPECT_TRUE(sendAll(from, text));
  std::string received;
  EXPECT_TRUE(eventually([&] {
    const bool willBeMore = !isBroken();  // asked first: what comes before the break must arrive
    if (isReadable(to, 1ms)) received += receiveSome(to);
    return received.size() >= text.size() || !willBeMore;
  }));
  if (isBroken()) text.resize(std::min(text.size(), received.size()));
  EXPECT_TRUE(received == text) << "a stream has been changed";
}

void RelaySteps::closeSession(RelaySession& session) {
  const bool wasOpen = session.server.isOpen();
  session.client.close();
  session.server.close();
  if (!wasOpen) return;
  report(L"[TCP] Session closed FROM " + session.peer + L" (local " + std::to_wstring(port_) +
         L")");
  expectLastLine();
}

void RelaySteps::exchangeDatagrams(const std::string& text) {
  if (!udpListens_) return;
  FaultHits before = faultHits();
  ASSERT_TRUE(sendDatagramTo(udpClient_, udpPort_, text));
  const bool relayed = datagramComes(udpTarget_, text, before);
  const FaultHits hits = faultHits().since(before);
  if ((relayed || hits.of("sendto") > 0) && !std::exchange(udpKnowsClient_, true)) {
    const std::wstring peer = endpoint(test::localPort(udpClient_));
    report(L"[UDP] New client FROM " + peer + L"  local " + std::to_wstring(udpPort_) + L" -> " +
           endpoint(udpTargetPort_));
  }
  if (!relayed) return;
  before = faultHits();
  ASSERT_TRUE(sendDatagramTo(udpTarget_, udpPort_, text + " back"));
  static_cast<void>(datagramComes(udpClient_, text + " back", before));
}

// Whether a datagram arrives; it must, unless a failed call has lost it.
bool RelaySteps::datagramComes(const Socket& to, const std::string& text, const FaultHits& before) {
  const auto isLost = [&] {
    const FaultHits hits = faultHits().since(before);
    return hits.of("sendto") > 0 || hits.of("recvfrom") > 1;
  };
  EXPECT_TRUE(eventually([&] { return isReadable(to, 1ms) || isLost(); }));
  if (!isReadable(to)) return false;
  const auto datagram = receiveNextDatagram(to);
  EXPECT_TRUE(datagram && datagram->text == text && datagram->senderPort == udpPort_);
  return true;
}

// A record follows its line: waits until there are as many as there must be.
void RelaySteps::expectEvents() {
  std::vector<std::wstring> captured;
  EXPECT_TRUE(eventually([&] {
    captured = engine_.capturedTexts();
    std::erase_if(captured, [](const std::wstring& text) { return !isEvent(text); });
    return captured.size() >= events_.size();
  }));
  EXPECT_THAT(captured, testing::UnorderedElementsAreArray(events_));
}

void RelaySteps::exportRecords(const std::wstring& path) {
  const auto exportText = [&] {
    const auto text = engine_.state().monitor.exportText(kFilterAll);
    return "\xFF\xFE" + std::string(reinterpret_cast<const char*>(text.data()), text.size());
  };
  const std::string before = exportText();
  const bool saved = asProgram([&] { return saveMonitor(engine_.state(), kFilterAll, path); });
  const std::string file = pathOf(path).string();
  const FaultHits hits = faultHits();
  EXPECT_EQ(saved, hits.on("open", file) + hits.on("write", file) == 0);
  if (!saved) return;
  lines_.push_back(L"Monitor saved to: " + path);
  // The last record of a session can come meanwhile.
  const auto content = contentOf(path);
  EXPECT_TRUE(content == before || content == exportText());
}

void RelaySteps::stop() {
  asProgram([&] { engine_.state().server.stop(); });
  lines_.insert(lines_.end(), {L"Stopping server...", L"Server stopped."});
  if (tcpListens_) lines_.push_back(L"[TCP] Stopped local port " + std::to_wstring(port_));
  if (udpListens_) lines_.push_back(L"[UDP] Stopped local port " + std::to_wstring(udpPort_));
  EXPECT_FALSE(engine_.state().server.isRunning());
  for (std::size_t i = 0; i < kRuleCount; ++i) {
    EXPECT_FALSE(engine_.state().server.isWorkerActive(i));
  }
}

}  // namespace quillgate::test
