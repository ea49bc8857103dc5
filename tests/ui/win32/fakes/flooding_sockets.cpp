// A ws2_32.dll without a network: a socket gets 5,000 datagrams a second, or as many as it takes,
// the first one from 10.0.0.0:1000 and each from the next address. What is sent goes nowhere. For
// one rule that forwards UDP.
//
// It also counts the notices of new lines that the thread takes which starts it: a window has the
// number of its own as its property "NoticesTaken". To take one can be made to last longer, by as
// many milliseconds as the window's property "NoticeDelay" says.

// The functions below are the library's, not somebody else's.
#define WINSOCK_API_LINKAGE __declspec(dllexport)
#include <winsock2.h>
// After winsock2.h.
#include <ws2tcpip.h>

#include <chrono>
#include <cstdint>
#include <cwchar>

#include "ui/win32/control_ids.h"

namespace {

using Clock = std::chrono::steady_clock;

constexpr auto kInterval = std::chrono::microseconds(200);
constexpr std::uint32_t kFirstAddress = 0x0A000000;
constexpr std::uint16_t kPort = 1000;

Clock::time_point opened;
std::uint32_t received = 0;  // since then

bool isReadable() { return Clock::now() - opened > received * kInterval; }

LRESULT CALLBACK countNotices(int code, WPARAM removed, LPARAM lParam) {
  const auto& message = *reinterpret_cast<const MSG*>(lParam);
  if (code == HC_ACTION && removed == PM_REMOVE && message.message == quillgate::WM_LOG_NEW_LINE) {
    constexpr const wchar_t* kProperty = L"NoticesTaken";
    const auto taken = reinterpret_cast<std::uintptr_t>(GetPropW(message.hwnd, kProperty));
    SetPropW(message.hwnd, kProperty, reinterpret_cast<HANDLE>(taken + 1));
    const auto delay = reinterpret_cast<std::uintptr_t>(GetPropW(message.hwnd, L"NoticeDelay"));
    if (delay != 0) Sleep(static_cast<DWORD>(delay));
  }
  return CallNextHookEx(nullptr, code, removed, lParam);
}

}  // namespace

int WSAStartup(WORD, WSADATA*) {
  SetWindowsHookExW(WH_GETMESSAGE, countNotices, nullptr, GetCurrentThreadId());
  return 0;
}
int WSACleanup() { return 0; }
int WSAGetLastError() { return WSAEWOULDBLOCK; }

SOCKET socket(int, int, int) {
  opened = Clock::now();
  received = 0;
  return 1;
}

int closesocket(SOCKET) { return 0; }
int bind(SOCKET, const sockaddr*, int) { return 0; }
int setsockopt(SOCKET, int, int, const char*, int) { return 0; }
int ioctlsocket(SOCKET, long, u_long*) { return 0; }

int select(int, fd_set*, fd_set*, fd_set*, const PTIMEVAL) {
  while (!isReadable()) Sleep(1);
  return 1;
}

int recvfrom(SOCKET, char* buffer, int, int, sockaddr* sender, int* senderLength) {
  if (!isReadable()) return SOCKET_ERROR;
  sockaddr_in client{};
  client.sin_family = AF_INET;
  client.sin_port = htons(kPort);
  client.sin_addr.s_addr = htonl(kFirstAddress + received++);
  *reinterpret_cast<sockaddr_in*>(sender) = client;
  *senderLength = sizeof client;
  *buffer = 'x';
  return 1;
}

int sendto(SOCKET, const char*, int length, int, const sockaddr*, int) { return length; }

u_long htonl(u_long number) { return __builtin_bswap32(number); }
u_short htons(u_short number) { return __builtin_bswap16(number); }

// Whatever the text says, it is an address that no datagram comes from.
INT InetPtonW(INT, PCWSTR, PVOID address) {
  static_cast<in_addr*>(address)->s_addr = htonl(INADDR_LOOPBACK);
  return 1;
}

int WSAAddressToStringW(sockaddr* address, DWORD, WSAPROTOCOL_INFOW*, wchar_t* text,
                        DWORD* length) {
  const auto* client = reinterpret_cast<const sockaddr_in*>(address);
  const auto& host = client->sin_addr.S_un.S_un_b;
  const int size = std::swprintf(text, *length, L"%u.%u.%u.%u:%u", host.s_b1, host.s_b2, host.s_b3,
                                 host.s_b4, htons(client->sin_port));
  return size > 0 ? 0 : SOCKET_ERROR;
}
