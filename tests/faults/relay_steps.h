// The program's forwarding, from the start of the server to its stop, with real clients and targets
// and a check of every step, whatever call has failed meanwhile: lines, records, streams, flags.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "tests/faults/fault_layer.h"
#include "tests/support/test_engine.h"
#include "tests/support/test_sockets.h"

namespace quillgate::test {

// One TCP client of the program.
struct RelaySession {
  std::string name;
  platform::Socket client;
  platform::Socket server;  // what the target accepted; not open where the program got that far not
  std::wstring peer;        // the client as the program's texts show it
  std::string clientSide;   // the program's two sockets (portsText)
  std::string targetSide;
  bool isWaiting = false;  // the program has not accepted it
};

class RelaySteps {
 public:
  // The lines that must be logged are added to `expected`.
  RelaySteps(TestEngine& engine, std::vector<std::wstring>& expected)
      : engine_(engine), lines_(expected) {}

  // A TCP rule and a UDP rule for the targets of these steps.
  [[nodiscard]] RuleSet rules() const;

  void start();
  [[nodiscard]] RelaySession openSession(const std::string& name);
  // Bytes both ways; every byte comes unchanged in a direction that no failed call has ended.
  void exchange(const RelaySession& session);
  void closeSession(RelaySession& session);
  void exchangeDatagrams(const std::string& text);
  void exportRecords(const std::wstring& path);
  void stop();
  // The records without payload are those that must have been captured by now.
  void expectEvents();

 private:
  [[nodiscard]] std::wstring startOfTcp(const FaultHits& hits);
  [[nodiscard]] std::wstring startOfUdp(const FaultHits& hits);
  [[nodiscard]] bool waitForTarget(RelaySession& session, const FaultHits& before,
                                   int acceptedBefore);
  void expectEnded(const RelaySession& session, const FaultHits& hits);
  void expectStream(const platform::Socket& from, const platform::Socket& to,
                    const std::string& fromSide, const std::string& toSide, std::string text);
  [[nodiscard]] bool datagramComes(const platform::Socket& to, const std::string& text,
                                   const FaultHits& before);
  void report(const std::wstring& text);
  void expectLastLine();

  TestEngine& engine_;
  std::vector<std::wstring>& lines_;
  std::vector<std::wstring> events_;

  const platform::Socket target_ = listenOnLoopback();
  const std::uint16_t targetPort_ = test::localPort(target_);
  const platform::Socket udpTarget_ = udpOnLoopback();
  const platform::Socket udpClient_ = udpOnLoopback();
  const std::uint16_t udpTargetPort_ = test::localPort(udpTarget_);
  const std::uint16_t port_ = freePort(platform::Transport::tcp);
  const std::uint16_t udpPort_ = freePort(platform::Transport::udp);
  bool tcpListens_ = false;
  bool udpListens_ = false;
  bool udpKnowsClient_ = false;
};

}  // namespace quillgate::test
