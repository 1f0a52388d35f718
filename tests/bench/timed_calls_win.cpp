// Linked into a program, this times the calls in which that program waits for others: sleeps,
// ends of processes, answers of the timer and of the race server. At the program's end it
// writes their sum to standard error, "waited <microseconds>".
#include <winsock2.h>
#include <windows.h>
#include <winhttp.h>

#include <cstdio>
#include <cstdlib>

namespace {

LONGLONG waitedCounts = 0;

LONGLONG counter() {
  LARGE_INTEGER now = {};
  (void)QueryPerformanceCounter(&now);
  return now.QuadPart;
}

/// The function itself, which the slots below hide.
template <typename Function>
Function real(const char* library, const char* name) {
  return reinterpret_cast<Function>(
      reinterpret_cast<void*>(GetProcAddress(LoadLibraryA(library), name)));
}

class Waiting {
 public:
  Waiting() : start_(counter()) {}
  ~Waiting() { waitedCounts += counter() - start_; }
  Waiting(const Waiting&) = delete;
  Waiting& operator=(const Waiting&) = delete;

 private:
  LONGLONG start_;
};

void WINAPI timedSleep(DWORD milliseconds) {
  static const auto function = real<decltype(&timedSleep)>("kernel32.dll", "Sleep");
  const Waiting waiting;
  function(milliseconds);
}

DWORD WINAPI timedWait(HANDLE handle, DWORD milliseconds) {
  static const auto function = real<decltype(&timedWait)>("kernel32.dll", "WaitForSingleObject");
  const Waiting waiting;
  return function(handle, milliseconds);
}

int WINAPI timedReceive(SOCKET socket, char* buffer, int bytes, int flags) {
  static const auto function = real<decltype(&timedReceive)>("ws2_32.dll", "recv");
  const Waiting waiting;
  return function(socket, buffer, bytes, flags);
}

void report() {
  LARGE_INTEGER frequency = {};
  (void)QueryPerformanceFrequency(&frequency);
  char text[64] = {};
  const int length = std::snprintf(text, sizeof text, "waited %lld\n",
                                   waitedCounts * 1'000'000 / frequency.QuadPart);
  DWORD written = 0;
  (void)WriteFile(GetStdHandle(STD_ERROR_HANDLE), text, static_cast<DWORD>(length), &written,
                  nullptr);
}

[[gnu::constructor]] void reportAtTheEnd() { (void)std::atexit(report); }

}  // namespace

// The linker takes these for the import table's slots of the functions.
extern "C" {
extern decltype(&timedSleep) __imp_Sleep;
extern decltype(&timedWait) __imp_WaitForSingleObject;
extern decltype(&timedReceive) __imp_recv;

decltype(&timedSleep) __imp_Sleep = timedSleep;
decltype(&timedWait) __imp_WaitForSingleObject = timedWait;
decltype(&timedReceive) __imp_recv = timedReceive;

// This one is called by its own name.
BOOL WINAPI WinHttpReceiveResponse(HINTERNET request, void* reserved) {
  static const auto function = real<decltype(&WinHttpReceiveResponse)>("winhttp.dll",
                                                                       "WinHttpReceiveResponse");
  const Waiting waiting;
  return function(request, reserved);
}
}
