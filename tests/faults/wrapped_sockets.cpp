// The calls of platform/posix for sockets, names and threads, on their way to the system.
#include <arpa/inet.h>
#include <fcntl.h>
#include <netdb.h>
#include <poll.h>
#include <pthread.h>
#include <sys/socket.h>

#include <algorithm>
#include <cerrno>
#include <cstdarg>
#include <memory>
#include <string>
#include <vector>

#include "tests/faults/fault_layer.h"

using quillgate::test::bytesToMove;
using quillgate::test::bytesToSend;
using quillgate::test::failsNow;
using quillgate::test::isInterruptedNow;
using quillgate::test::isProgram;
using quillgate::test::namedAddresses;
using quillgate::test::ProgramScope;

namespace {

// Stops need not wait for the 0.3 s of a worker's turn.
constexpr int kLongestPollMilliseconds = 10;

struct ThreadStart {
  void* (*body)(void*);
  void* argument;
};

extern "C" void* runThreadOfProgram(void* start) {
  const ProgramScope scope;
  const std::unique_ptr<ThreadStart> owned(static_cast<ThreadStart*>(start));
  return owned->body(owned->argument);
}

std::string withTransport(const char* call, int type) {
  return std::string(call) + ((type & SOCK_DGRAM) != 0 ? " udp" : " tcp");
}

}  // namespace

// The linker asks for these names.
// NOLINTBEGIN(readability-identifier-naming)
extern "C" {
decltype(::socket) __real_socket;
decltype(::bind) __real_bind;
decltype(::listen) __real_listen;
decltype(::accept4) __real_accept4;
decltype(::connect) __real_connect;
decltype(::recv) __real_recv;
decltype(::send) __real_send;
decltype(::recvfrom) __real_recvfrom;
decltype(::sendto) __real_sendto;
decltype(::poll) __real_poll;
decltype(::setsockopt) __real_setsockopt;
decltype(::getsockopt) __real_getsockopt;
decltype(::fcntl) __real_fcntl;
decltype(::getaddrinfo) __real_getaddrinfo;
decltype(::pthread_create) __real_pthread_create;

int __wrap_socket(int family, int type, int protocol) {
  if (failsNow(withTransport("socket", type), EMFILE)) return -1;
  return __real_socket(family, type, protocol);
}

int __wrap_bind(int socket, const sockaddr* address, socklen_t length) {
  int type = 0;
  socklen_t size = sizeof(type);
  __real_getsockopt(socket, SOL_SOCKET, SO_TYPE, &type, &size);
  if (failsNow(withTransport("bind", type), EADDRINUSE, socket)) return -1;
  return __real_bind(socket, address, length);
}

int __wrap_listen(int socket, int backlog) {
  if (failsNow("listen", EADDRINUSE, socket)) return -1;
  return __real_listen(socket, backlog);
}

int __wrap_accept4(int socket, sockaddr* address, socklen_t* length, int flags) {
  if (isInterruptedNow() || failsNow("accept4", EMFILE, socket)) return -1;
  return __real_accept4(socket, address, length, flags);
}

int __wrap_connect(int socket, const sockaddr* address, socklen_t length) {
  if (failsNow("connect", ECONNREFUSED, socket)) return -1;
  const int result = __real_connect(socket, address, length);
  // An interrupted connect goes on in the background.
  return result == 0 && isInterruptedNow() ? -1 : result;
}

ssize_t __wrap_recv(int socket, void* buffer, size_t size, int flags) {
  if (isInterruptedNow() || failsNow("recv", ECONNRESET, socket)) return -1;
  return __real_recv(socket, buffer, bytesToMove(size), flags);
}

ssize_t __wrap_send(int socket, const void* data, size_t size, int flags) {
  if (isInterruptedNow() || failsNow("send", EPIPE, socket)) return -1;
  return __real_send(socket, data, bytesToSend(size), flags);
}

ssize_t __wrap_recvfrom(int socket, void* buffer, size_t size, int flags, sockaddr* address,
                        socklen_t* length) {
  if (isInterruptedNow() || failsNow("recvfrom", ECONNREFUSED, socket)) return -1;
  return __real_recvfrom(socket, buffer, size, flags, address, length);
}

ssize_t __wrap_sendto(int socket, const void* data, size_t size, int flags, const sockaddr* address,
                      socklen_t length) {
  if (isInterruptedNow() || failsNow("sendto", ENETUNREACH, socket)) return -1;
  return __real_sendto(socket, data, size, flags, address, length);
}

int __wrap_poll(pollfd* waits, nfds_t count, int timeout) {
  if (!isProgram()) return __real_poll(waits, count, timeout);
  if (isInterruptedNow() || failsNow("poll", ENOMEM, waits->fd)) return -1;
  return __real_poll(waits, count, std::min(timeout, kLongestPollMilliseconds));
}

int __wrap_setsockopt(int socket, int level, int option, const void* value, socklen_t length) {
  if (failsNow("setsockopt", ENOBUFS, socket)) return -1;
  return __real_setsockopt(socket, level, option, value, length);
}

int __wrap_getsockopt(int socket, int level, int option, void* value, socklen_t* length) {
  if (failsNow("getsockopt", ENOBUFS, socket)) return -1;
  return __real_getsockopt(socket, level, option, value, length);
}

int __wrap_fcntl(int descriptor, int command, ...) {
  va_list arguments;
  va_start(arguments, command);
  void* argument = va_arg(arguments, void*);
  va_end(arguments);
  if (failsNow("fcntl", EBADF, descriptor)) return -1;
  return __real_fcntl(descriptor, command, argument);
}

int __wrap_getaddrinfo(const char* node, const char* service, const addrinfo* hints,
                       addrinfo** found) {
  if (failsNow("getaddrinfo", 0)) return EAI_AGAIN;
  const std::vector<std::string> addresses = namedAddresses();
  if (addresses.empty()) return __real_getaddrinfo(node, service, hints, found);
  *found = nullptr;
  for (const std::string& address : addresses) {
    if (__real_getaddrinfo(address.c_str(), service, hints, found) != 0) return EAI_NONAME;
    found = &(*found)->ai_next;
  }
  return 0;
}

int __wrap_pthread_create(pthread_t* thread, const pthread_attr_t* attributes, void* (*body)(void*),
                          void* argument) {
  if (!isProgram()) return __real_pthread_create(thread, attributes, body, argument);
  if (failsNow("pthread_create", 0)) return EAGAIN;
  auto start = std::make_unique<ThreadStart>(ThreadStart{body, argument});
  const int error = __real_pthread_create(thread, attributes, &runThreadOfProgram, start.get());
  if (error == 0) static_cast<void>(start.release());  // the new thread owns it
  return error;
}
}
// NOLINTEND(readability-identifier-naming)
