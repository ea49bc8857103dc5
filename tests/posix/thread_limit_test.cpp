// A flood of clients where the system allows few threads. A session without a thread would end the
// process: the descriptors have to run out first.
#include <gtest/gtest.h>
#include <sched.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <cstdlib>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

#include "platform/system.h"
#include "tests/support/child_process.h"
#include "tests/support/test_engine.h"
#include "tests/support/test_sockets.h"

namespace quillgate {
namespace {

using namespace std::chrono_literals;
using platform::Socket;
using platform::Transport;

constexpr rlim_t kThreads = 200;
// Each would need two threads.
constexpr std::size_t kClients = 300;

// The limit counts all threads of a user. Makes this process one of a user of whom nothing else
// runs: root can become any, and in a namespace of its own everybody is one.
bool becomeAUserAlone() {
  constexpr uid_t kFirstUser = 60'000;
  constexpr uid_t kUsers = 5'000;
  if (::geteuid() != 0) return ::unshare(CLONE_NEWUSER) == 0;
  return ::setuid(kFirstUser + static_cast<uid_t>(::getpid()) % kUsers) == 0;
}

bool mayBecomeAUserAlone() {
  const pid_t child = ::fork();
  if (child == 0) ::_exit(becomeAUserAlone() ? 0 : 1);
  int status = 1;
  return child > 0 && ::waitpid(child, &status, 0) == child && status == 0;
}

// Forwards one port to another for ever, as a user of whom nothing else runs, with few threads.
[[noreturn]] void serveWithFewThreads(const std::wstring& ports) {
  const rlimit few{.rlim_cur = kThreads, .rlim_max = kThreads};
  if (!becomeAUserAlone() || ::setrlimit(RLIMIT_NPROC, &few) != 0) std::abort();
  if (!platform::startPlatform()) std::abort();

  std::wistringstream text(ports);
  std::uint16_t port = 0;
  std::uint16_t targetPort = 0;
  text >> port >> targetPort;
  test::TestEngine engine;
  engine.setRule(test::ruleFor(Protocol::tcp, port, targetPort));
  engine.state().server.start();
  while (true) ::pause();
}

// Accepts all connections that reach the target until none has come for a while; `keep` gets each.
template <typename Keep>
void acceptAll(const Socket& target, Keep keep) {
  while (platform::waitReadable(target, 500ms) == platform::WaitResult::readable) {
    platform::SocketAddress peer;
    keep(platform::acceptConnection(target, peer));
  }
}

TEST(ThreadLimit, LetsAFloodOfClientsWaitInsteadOfEndingTheProcess) {
  if (const auto ports = test::childTask()) serveWithFewThreads(*ports);
  if (!mayBecomeAUserAlone()) {
    GTEST_SKIP() << "neither root nor a user namespace: there are other threads of this user";
  }
  const Socket target = test::listenOnLoopback();
  const std::uint16_t port = test::freePort(Transport::tcp);
  test::ChildProcess server(std::to_wstring(port) + L" " +
                            std::to_wstring(test::localPort(target)));
  ASSERT_TRUE(test::eventually([&] { return test::connectToLoopback(port).isOpen(); }));

  {
    std::vector<Socket> clients;
    for (std::size_t i = 0; i < kClients; ++i) clients.push_back(test::connectToLoopback(port));
    std::vector<Socket> served;
    acceptAll(target, [&](Socket session) { served.push_back(std::move(session)); });
    EXPECT_GT(served.size(), kThreads / 10);
    EXPECT_LT(served.size(), kThreads / 2);
  }
  // Clients that have waited until now are served, though they have gone.
  acceptAll(target, [](const Socket&) {});

  const Socket client = test::connectToLoopback(port);
  ASSERT_TRUE(test::sendAll(client, "after the flood"));
  EXPECT_EQ(test::receiveExactly(test::acceptFrom(target), 15), "after the flood");
}

}  // namespace
}  // namespace quillgate
