// A ws2_32.dll as on a system whose sockets cannot be started.

extern "C" __declspec(dllexport) int __stdcall WSAStartup(unsigned short, void*) {
  constexpr int kSystemNotReady = 10091;
  return kSystemNotReady;
}
