// What only a POSIX system can do to the platform's functions: links, signals, limits of the
// process, bytes that are no text.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <pthread.h>
#include <signal.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <atomic>
#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <optional>
#include <thread>
#include <utility>
#include <vector>

#include "platform/file.h"
#include "platform/posix/text.h"
#include "platform/socket.h"
#include "platform/system.h"
#include "platform/thread.h"
#include "tests/support/bytes.h"
#include "tests/support/deadline.h"
#include "tests/support/ordinary_user.h"
#include "tests/support/temp_folder.h"
#include "tests/support/test_sockets.h"

namespace quillgate::platform {
namespace {

namespace fs = std::filesystem;

using std::string_literals::operator""s;
using test::bytesOf;
using test::TempFolder;

// Interrupts the thread that creates it every millisecond.
class SignalStorm {
 public:
  SignalStorm() : target_(::pthread_self()) {
    struct sigaction interrupt {};
    interrupt.sa_handler = [](int) { ++signals; };  // no SA_RESTART
    EXPECT_EQ(::sigaction(SIGUSR1, &interrupt, &before_), 0);
    signals = 0;
    thread_ = std::thread([this] {
      while (!over_) {
        ::pthread_kill(target_, SIGUSR1);
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
      }
    });
  }
  SignalStorm(const SignalStorm&) = delete;
  SignalStorm& operator=(const SignalStorm&) = delete;
  ~SignalStorm() {
    over_ = true;
    thread_.join();
    EXPECT_EQ(::sigaction(SIGUSR1, &before_, nullptr), 0);
    EXPECT_GT(signals, 0);
  }

 private:
  static inline std::atomic<int> signals{0};

  pthread_t target_;
  struct sigaction before_ {};
  std::atomic<bool> over_{false};
  std::thread thread_;
};

// Sets a limit of this process for its life.
class Limit {
 public:
  Limit(__rlimit_resource resource, rlim_t most) : resource_(resource) {
    EXPECT_EQ(::getrlimit(resource_, &before_), 0);
    const rlimit limit{.rlim_cur = most, .rlim_max = before_.rlim_max};
    EXPECT_EQ(::setrlimit(resource_, &limit), 0);
  }
  Limit(const Limit&) = delete;
  Limit& operator=(const Limit&) = delete;
  ~Limit() { EXPECT_EQ(::setrlimit(resource_, &before_), 0); }

 private:
  __rlimit_resource resource_;
  rlimit before_{};
};

// Makes the disk seem full for files that grow beyond `bytes`.
class FullDisk {
 public:
  explicit FullDisk(rlim_t bytes) : limit_(RLIMIT_FSIZE, bytes) {
    before_ = ::signal(SIGXFSZ, SIG_IGN);
  }
  FullDisk(const FullDisk&) = delete;
  FullDisk& operator=(const FullDisk&) = delete;
  ~FullDisk() { ::signal(SIGXFSZ, before_); }

 private:
  Limit limit_;
  void (*before_)(int) = SIG_DFL;
};

// Sets a variable of the environment for its life, or removes it.
class Variable {
 public:
  Variable(const char* name, const std::optional<std::string>& value) : name_(name) {
    if (const char* before = std::getenv(name)) before_ = before;
    set(value);
  }
  Variable(const Variable&) = delete;
  Variable& operator=(const Variable&) = delete;
  ~Variable() { set(before_); }

 private:
  void set(const std::optional<std::string>& value) const {
    EXPECT_EQ(value ? ::setenv(name_, value->c_str(), 1) : ::unsetenv(name_), 0);
  }

  const char* name_;
  std::optional<std::string> before_;
};

TEST(PosixText, TurnsUtf8IntoWideTextAndBack) {
  const std::vector<std::pair<std::string, std::wstring>> texts{
      {"", L""},
      {"plain", L"plain"},
      {"\x7F\xC2\x80", L"\x7F\x80"},
      {"\xDF\xBF\xE0\xA0\x80", L"\u07FF\u0800"},
      {"\xEF\xBF\xBF\xF0\x90\x80\x80", L"\uFFFF\U00010000"},
      {"\xED\x9F\xBF\xEE\x80\x80", L"\uD7FF\uE000"},
      {"\xF4\x8F\xBF\xBF", L"\U0010FFFF"},
      {"a\0b"s, L"a\0b"s}};
  for (const auto& [bytes, text] : texts) {
    EXPECT_EQ(toWide(bytes), text);
    EXPECT_EQ(toBytes(text), bytes);
  }
}

TEST(PosixText, KeepsBytesThatAreNoUtf8) {
  EXPECT_EQ(toWide("a\xFFz"), L"a\xDCFFz"s);
  for (const std::string& bytes :
       {"\x80"s, "\xC3"s, "\xC3z"s, "\xE2\x82"s, "\xE2\x82z"s, "\xF0\x9F\x98"s,
        "\xC0\xAF"s,          // overlong
        "\xE0\x80\xAF"s,      // overlong
        "\xF0\x80\x80\xAF"s,  // overlong
        "\xED\xB2\x80"s,      // a surrogate
        "\xF4\x90\x80\x80"s,  // beyond the last character
        "\xF8\x88\x80\x80\x80"s, "\xFE\xFF"s}) {
    const std::wstring text = toWide(bytes);
    EXPECT_GE(text[0], wchar_t{0xDC80});
    EXPECT_LE(text[0], wchar_t{0xDCFF});
    EXPECT_EQ(toBytes(text), bytes);
  }
}

TEST(PosixText, ReplacesWhatIsNoCharacter) {
  EXPECT_EQ(toBytes(std::wstring{wchar_t{0xD800}}), "\xEF\xBF\xBD");
  EXPECT_EQ(toBytes(std::wstring{wchar_t{0xDC00}}), "\xEF\xBF\xBD");
  EXPECT_EQ(toBytes(std::wstring{wchar_t{0x110000}}), "\xEF\xBF\xBD");
}

TEST(PosixSocket, EndsAWaitWhenASignalComes) {
  const Socket socket = test::udpOnLoopback();
  const SignalStorm storm;
  const auto start = std::chrono::steady_clock::now();
  EXPECT_EQ(waitReadable(socket, test::kDeadline), WaitResult::timedOut);
  EXPECT_LT(std::chrono::steady_clock::now() - start, test::kDeadline / 2);
}

TEST(PosixSocket, ReceivesThroughSignals) {
  auto [client, server] = test::connectedPair();
  std::thread sender([&client = client] {
    std::this_thread::sleep_for(std::chrono::milliseconds(50));
    EXPECT_TRUE(test::sendAll(client, "hello"));
  });
  const SignalStorm storm;
  std::array<std::byte, 16> buffer;
  EXPECT_EQ(receive(server, buffer), 5);
  sender.join();
}

TEST(PosixSocket, SendsThroughSignals) {
  auto [client, server] = test::connectedPair();
  const std::string data(16 * 1024 * 1024, 'x');
  std::string received;
  std::thread receiver([&server = server, &received] {
    std::this_thread::sleep_for(std::chrono::milliseconds(50));
    EXPECT_EQ(test::receiveUntilEnd(server, &received), test::StreamEnd::orderly);
  });
  {
    const SignalStorm storm;
    EXPECT_TRUE(test::sendAll(client, data));
  }
  client.close();
  receiver.join();
  EXPECT_TRUE(received == data);
}

TEST(PosixSocket, ConnectsThroughSignals) {
  const Socket listener = test::listenOnLoopback();
  // Room for one connection only: the second has to wait until the first is accepted.
  ASSERT_EQ(::listen(static_cast<int>(listener.native()), 0), 0);
  const Socket first = test::connectToLoopback(test::localPort(listener));
  ASSERT_TRUE(first.isOpen());
  std::thread acceptor([&listener] {
    std::this_thread::sleep_for(std::chrono::milliseconds(100));
    EXPECT_TRUE(test::acceptFrom(listener).isOpen());
    EXPECT_TRUE(test::acceptFrom(listener).isOpen());
  });
  {
    const SignalStorm storm;
    EXPECT_TRUE(test::connectToLoopback(test::localPort(listener)).isOpen());
  }
  acceptor.join();
}

TEST(PosixSocket, UsesDescriptorsBeyondTheFirstThousand) {
  std::vector<Socket> others;
  while (others.empty() || others.back().native() < 1100) {
    others.push_back(openIpv4Socket(Transport::tcp));
    ASSERT_TRUE(others.back().isOpen());
  }
  const Socket udp = test::udpOnLoopback();
  ASSERT_GT(udp.native(), 1100U);
  EXPECT_EQ(waitReadable(udp, std::chrono::milliseconds(1)), WaitResult::timedOut);
  ASSERT_TRUE(test::sendDatagramTo(udp, test::localPort(udp), "a"));
  EXPECT_EQ(waitReadable(udp, test::kDeadline), WaitResult::readable);
}

TEST(PosixSocket, PausesWhenThereIsNoDescriptorForAConnection) {
  const Socket listener = test::listenOnLoopback();
  const Socket client = test::connectToLoopback(test::localPort(listener));
  ASSERT_EQ(waitReadable(listener, test::kDeadline), WaitResult::readable);
  SocketAddress peer;
  {
    const int lowestFree = ::dup(STDIN_FILENO);
    ASSERT_GE(lowestFree, 0);
    ::close(lowestFree);
    const Limit none(RLIMIT_NOFILE, static_cast<rlim_t>(lowestFree));
    const auto start = std::chrono::steady_clock::now();
    EXPECT_FALSE(acceptConnection(listener, peer).isOpen());
    EXPECT_GE(std::chrono::steady_clock::now() - start, kPauseWithoutDescriptors);
    EXPECT_FALSE(openIpv4Socket(Transport::tcp).isOpen());
  }
  EXPECT_TRUE(acceptConnection(listener, peer).isOpen());
}

TEST(PosixSocket, LetsNoOtherProgramInheritASocket) {
  const Socket listener = test::listenOnLoopback();
  const Socket client = test::connectToLoopback(test::localPort(listener));
  const Socket server = test::acceptFrom(listener);
  for (const Socket* socket : {&listener, &client, &server}) {
    const int flags = ::fcntl(static_cast<int>(socket->native()), F_GETFD);
    EXPECT_NE(flags & FD_CLOEXEC, 0);
  }
}

TEST(PosixThread, ReservesTheStackItIsAskedForInWholePages) {
  std::size_t stackBytes = 0;
  Thread thread(kWorkerStackBytes + 1, [&stackBytes] {
    pthread_attr_t attributes;
    ASSERT_EQ(::pthread_getattr_np(::pthread_self(), &attributes), 0);
    ::pthread_attr_getstacksize(&attributes, &stackBytes);
    ::pthread_attr_destroy(&attributes);
  });
  thread.join();
  const auto page = static_cast<std::size_t>(::sysconf(_SC_PAGESIZE));
  EXPECT_GE(stackBytes, kWorkerStackBytes + 1);
  EXPECT_EQ(stackBytes % page, 0U);
  // A sanitizer adds what it needs itself.
  EXPECT_LT(stackBytes, 8 * kWorkerStackBytes);
}

TEST(PosixFile, KeepsTheOldContentWhenTheDiskIsFull) {
  const TempFolder folder;
  const auto path = folder.file(L"file");
  test::writeFile(path, "the old content");
  {
    const FullDisk full(4096);
    EXPECT_FALSE(replaceFile(path, bytesOf(std::string(10'000, 'x'))));
    EXPECT_FALSE(replaceFile(folder.file(L"other"), bytesOf(std::string(10'000, 'x'))));
  }
  EXPECT_EQ(test::contentOf(path), "the old content");
  EXPECT_EQ(folder.names(), std::vector<std::wstring>{L"file"});
}

TEST(PosixFile, PutsTheOldContentBackWhenTheDiskIsFullInPlace) {
  const TempFolder folder;
  const auto path = folder.file(L"file");
  const std::string old(1000, 'o');
  test::writeFile(path, old);
  fs::create_directory(test::pathOf(path + L".quillgate-new"));
  {
    const FullDisk full(4096);
    EXPECT_FALSE(replaceFile(path, bytesOf(std::string(10'000, 'x'))));
  }
  EXPECT_EQ(test::contentOf(path), old);
}

TEST(PosixFile, LeavesNoHalfOfAFileItCreatesInPlaceWhenTheDiskIsFull) {
  const TempFolder folder;
  const auto path = folder.file(L"file");
  fs::create_directory(test::pathOf(path + L".quillgate-new"));
  {
    const FullDisk full(4096);
    EXPECT_FALSE(replaceFile(path, bytesOf(std::string(10'000, 'x'))));
  }
  EXPECT_FALSE(pathExists(path));
}

TEST(PosixFile, ReportsALineThatDoesNotFitOnTheDisk) {
  EXPECT_FALSE(appendToFile(L"/dev/full", bytesOf("line")));
  const TempFolder folder;
  const FullDisk full(10);
  EXPECT_TRUE(appendToFile(folder.file(L"log"), bytesOf("0123456789")));
  EXPECT_FALSE(appendToFile(folder.file(L"log"), bytesOf("a")));
}

TEST(PosixFile, ReportsAFileWrittenAnewThatDoesNotFitOnTheDisk) {
  EXPECT_FALSE(writeFileAnew(L"/dev/full", {bytesOf("content")}));
}

TEST(PosixFile, AppendsNothingToAFileThatMayNotBeWritten) {
  const TempFolder folder;
  const auto path = folder.file(L"log");
  test::writeFile(path, "old");
  fs::permissions(test::pathOf(path), fs::perms::owner_read | fs::perms::others_read);
  EXPECT_FALSE(test::holdsForOrdinaryUser([&] { return appendToFile(path, bytesOf("new")); }));
  EXPECT_EQ(test::contentOf(path), "old");
}

TEST(PosixFile, ReplacesNothingButPlainFiles) {
  const TempFolder folder;
  const auto path = folder.file(L"pipe");
  ASSERT_EQ(::mkfifo(toBytes(path).c_str(), 0600), 0);
  EXPECT_FALSE(replaceFile(path, bytesOf("a")));
  EXPECT_FALSE(replaceFile(L"/dev/null", bytesOf("a")));
  EXPECT_TRUE(fs::is_fifo(test::pathOf(path)));
}

TEST(PosixFile, FollowsALinkAndKeepsIt) {
  const TempFolder folder;
  fs::create_directory(test::pathOf(folder.file(L"there")));
  fs::create_symlink("there", test::pathOf(folder.file(L"folder")));
  fs::create_symlink(fs::path("folder") / "file", test::pathOf(folder.file(L"first")));
  fs::create_symlink(test::pathOf(folder.file(L"first")), test::pathOf(folder.file(L"second")));

  for (const std::string content : {"created through the links", "replaced"}) {
    EXPECT_TRUE(replaceFile(folder.file(L"second"), bytesOf(content)));
    EXPECT_EQ(test::contentOf(folder.file(L"there/file")), content);
  }
  EXPECT_TRUE(fs::is_symlink(test::pathOf(folder.file(L"first"))));
  EXPECT_TRUE(fs::is_symlink(test::pathOf(folder.file(L"second"))));
  EXPECT_FALSE(fs::is_symlink(test::pathOf(folder.file(L"there/file"))));
}

TEST(PosixFile, ReplacesNothingThroughLinksThatGoInCircles) {
  const TempFolder folder;
  fs::create_symlink("b", test::pathOf(folder.file(L"a")));
  fs::create_symlink("a", test::pathOf(folder.file(L"b")));
  EXPECT_FALSE(replaceFile(folder.file(L"a"), bytesOf("new")));
  EXPECT_EQ(folder.names(), (std::vector<std::wstring>{L"a", L"b"}));
}

TEST(PosixFile, WritesNothingThroughALinkInThePlaceOfTheFileBeside) {
  const TempFolder folder;
  const auto path = folder.file(L"file");
  test::writeFile(path, "old");
  test::writeFile(folder.file(L"victim"), "victim");
  fs::create_symlink("victim", test::pathOf(path + L".quillgate-new"));
  EXPECT_TRUE(replaceFile(path, bytesOf("new")));
  EXPECT_EQ(test::contentOf(path), "new");
  EXPECT_EQ(test::contentOf(folder.file(L"victim")), "victim");
  EXPECT_FALSE(fs::is_symlink(test::pathOf(path)));
}

// The descriptors that this process may have after another start, with a limit of `before`.
rlim_t descriptorsAfterStart(rlim_t before) {
  const Limit restored(RLIMIT_NOFILE, before);
  EXPECT_TRUE(startPlatform());
  rlimit limit{};
  EXPECT_EQ(::getrlimit(RLIMIT_NOFILE, &limit), 0);
  return limit.rlim_cur;
}

TEST(PosixSystem, RaisesALowLimitOfDescriptors) { EXPECT_GT(descriptorsAfterStart(64), 64U); }

TEST(PosixSystem, AllowsNoMoreDescriptorsThanTwoThirdsOfTheThreadsOfItsUser) {
  const Limit threads(RLIMIT_NPROC, 300);
  EXPECT_EQ(descriptorsAfterStart(64), 200U);
  EXPECT_EQ(descriptorsAfterStart(300), 200U);
}

TEST(PosixSystem, AllowsNoMoreDescriptorsThanTwoThirdsOfTheThreadsOfTheSystem) {
  const rlim_t descriptors = descriptorsAfterStart(64);
  for (const auto& [path, perThread] : {std::pair{"/proc/sys/kernel/threads-max", 1U},
                                        {"/proc/sys/kernel/pid_max", 1U},
                                        // A thread has a stack and a guard page.
                                        {"/proc/sys/vm/max_map_count", 2U}}) {
    rlim_t limit = 0;
    ASSERT_TRUE(std::ifstream(path) >> limit);
    EXPECT_LE(descriptors, limit / perThread / 3 * 2) << path;
  }
}

TEST(PosixSystem, TakesTheDataFolderFromTheEnvironment) {
  const Variable home("HOME", "/home/user");
  const std::vector<std::pair<std::optional<std::string>, std::wstring>> folders{
      {"/data", L"/data"},
      {"/data//", L"/data"},
      {"relative", L"/home/user/.local/share"},
      {"", L"/home/user/.local/share"},
      {std::nullopt, L"/home/user/.local/share"}};
  for (const auto& [value, folder] : folders) {
    const Variable data("XDG_DATA_HOME", value);
    EXPECT_EQ(localAppDataFolder(), folder);
  }
}

TEST(PosixSystem, NamesNoDataFolderWithoutAHome) {
  const Variable data("XDG_DATA_HOME", std::nullopt);
  for (const std::optional<std::string>& value : {std::optional<std::string>(), {""}, {"home"}}) {
    const Variable home("HOME", value);
    EXPECT_EQ(localAppDataFolder(), L"");
  }
}

TEST(PosixSystem, KeepsADataFolderWhoseNameIsNoText) {
  const TempFolder temp;
  const std::string folder = toBytes(temp.file(L"")) + "\xFF\xE9t\xC3\xA9";
  const Variable data("XDG_DATA_HOME", folder);
  EXPECT_TRUE(createFolders(localAppDataFolder() + L"/Quillgate"));
  EXPECT_TRUE(appendToFile(localAppDataFolder() + L"/Quillgate/log", bytesOf("line")));
  EXPECT_TRUE(fs::is_regular_file(folder + "/Quillgate/log"));
}

TEST(PosixSystem, CreatesFoldersForTheUserAlone) {
  const TempFolder temp;
  ASSERT_TRUE(createFolders(temp.file(L"one/two")));
  ASSERT_TRUE(createFolders(temp.file(L"three/")));
  for (const wchar_t* name : {L"one", L"one/two", L"three"}) {
    EXPECT_EQ(fs::status(test::pathOf(temp.file(name))).permissions(), fs::perms::owner_all);
  }
}

}  // namespace
}  // namespace quillgate::platform
