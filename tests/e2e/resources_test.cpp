// Handles, sockets and memory of the launcher's operations: after a thousand of each there is
// no more of them than before.

#include <gtest/gtest.h>

#include <winsock2.h>
#include <windows.h>

#include <algorithm>
#include <atomic>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "core/platform.h"
#include "livesplit/client.h"
#include "server/http.h"

namespace launcher {
namespace {

/// Memory of this process that is in use, in bytes: everything committed that is no program
/// file and no mapped file.
std::size_t memoryInUse() {
  std::size_t bytes = 0;
  MEMORY_BASIC_INFORMATION part{};
  for (const char* at = nullptr; VirtualQuery(at, &part, sizeof part) == sizeof part;
       at = static_cast<const char*>(part.BaseAddress) + part.RegionSize) {
    if (part.State == MEM_COMMIT && part.Type == MEM_PRIVATE) bytes += part.RegionSize;
  }
  return bytes;
}

/// Open handles of this process, sockets among them. They are counted in the list of all
/// handles of the system: Wine does not know how many a process has.
std::size_t handlesOpen() {
  struct Handle {
    void* object;
    std::uintptr_t processId;
    std::uintptr_t value;
    std::uint32_t rest[4];
  };
  struct AllHandles {
    std::uintptr_t count;
    std::uintptr_t reserved;
    Handle handles[1];
  };
  using Query = LONG(WINAPI*)(int, void*, ULONG, ULONG*);
  constexpr int kExtendedHandles = 64;
  const auto query = reinterpret_cast<Query>(reinterpret_cast<void*>(
      GetProcAddress(GetModuleHandleW(L"ntdll.dll"), "NtQuerySystemInformation")));
  static std::vector<std::byte> memory(std::size_t{1} << 24U);
  ULONG bytes = 0;
  EXPECT_EQ(query(kExtendedHandles, memory.data(), static_cast<ULONG>(memory.size()), &bytes), 0);
  const auto* const all = reinterpret_cast<const AllHandles*>(memory.data());
  const Handle* const first = all->handles;
  return static_cast<std::size_t>(std::count_if(
      first, first + all->count,
      [](const Handle& handle) { return handle.processId == GetCurrentProcessId(); }));
}

/// The heap grows in steps; one of them says nothing. A leak of some 100 bytes in each of a
/// thousand exchanges takes more once the heap has nothing to spare.
constexpr std::size_t kHeapStep = 64 * 1024;

struct Level {
  std::size_t handles = 0;
  std::size_t bytes = 0;
};

/// Does the work `warmUp` times, then `times` times; what has come to stay by the second.
Level growth(int warmUp, int times, const std::function<void()>& work) {
  for (int i = 0; i < warmUp; ++i) work();
  const Level before{handlesOpen(), memoryInUse()};
  for (int i = 0; i < times; ++i) work();
  Level after{handlesOpen(), memoryInUse()};
  // The other side, in this process too, may have to close its last socket yet.
  const std::uint64_t end = GetTickCount64() + 1000;
  while (after.handles > before.handles && GetTickCount64() < end) {
    Sleep(10);
    after.handles = handlesOpen();
  }
  std::printf("%d times: handles %zu -> %zu, memory %zu -> %zu KiB\n", times, before.handles,
              after.handles, before.bytes / 1024, after.bytes / 1024);
  return {after.handles - std::min(before.handles, after.handles),
          after.bytes - std::min(before.bytes, after.bytes)};
}

/// The least that is a server: one request a connection, answered and forgotten, so that it
/// needs no more memory for the thousandth than for the first.
class ForgetfulServer {
 public:
  /// `isWhole` tells when a request has arrived to its end.
  ForgetfulServer(unsigned short port, std::string reply, bool (*isWhole)(const std::string&))
      : reply_(std::move(reply)), isWhole_(isWhole) {
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(port);
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    int bytes = sizeof address;
    EXPECT_EQ(bind(listener_, reinterpret_cast<sockaddr*>(&address), bytes), 0);
    EXPECT_EQ(listen(listener_, SOMAXCONN), 0);
    getsockname(listener_, reinterpret_cast<sockaddr*>(&address), &bytes);
    port_ = ntohs(address.sin_port);
    thread_ = std::thread([this] {
      for (SOCKET client = 0; (client = accept(listener_, nullptr, nullptr)) != INVALID_SOCKET;) {
        answer(client);
        closesocket(client);
      }
    });
  }
  ~ForgetfulServer() {
    closesocket(listener_);
    thread_.join();
    WSACleanup();
  }
  ForgetfulServer(const ForgetfulServer&) = delete;
  ForgetfulServer& operator=(const ForgetfulServer&) = delete;

  [[nodiscard]] std::string url() const { return "http://127.0.0.1:" + std::to_string(port_); }
  [[nodiscard]] int answered() const { return answered_; }

 private:
  void answer(SOCKET client) {
    char buffer[8192];
    std::string request;
    while (!isWhole_(request)) {
      const int got = recv(client, buffer, sizeof buffer, 0);
      if (got <= 0) return;
      request.append(buffer, static_cast<std::size_t>(got));
    }
    ++answered_;
    send(client, reply_.data(), static_cast<int>(reply_.size()), 0);
    shutdown(client, SD_SEND);
    while (recv(client, buffer, sizeof buffer, 0) > 0) {
    }
  }

  WSADATA winsock_{};
  int started_ = WSAStartup(MAKEWORD(2, 2), &winsock_);
  SOCKET listener_ = socket(AF_INET, SOCK_STREAM, IPPROTO_TCP);
  unsigned short port_ = 0;
  std::string reply_;
  bool (*isWhole_)(const std::string&);
  std::atomic<int> answered_ = 0;
  std::thread thread_;
};

constexpr char kHttpReply[] =
    "HTTP/1.1 200 OK\r\nConnection: close\r\nContent-Length: 17\r\n\r\n{\"accepted\":true}";

/// The headers of a GET; the body too of a POST, which is 2,000 bytes here.
bool isWholeHttp(const std::string& request) {
  const std::size_t end = request.find("\r\n\r\n");
  if (end == std::string::npos) return false;
  return request.starts_with("GET") || request.size() >= end + 4 + 2000;
}

bool isWholeLine(const std::string& request) { return request.ends_with("\n"); }

// Else the others would show nothing.
TEST(Resources, levelsShowWhatStays) {
  std::vector<HANDLE> handles;
  void* volatile kept = nullptr;  // else the compiler leaves the allocation out
  const Level more = growth(0, 1000, [&handles, &kept] {
    handles.push_back(CreateEventW(nullptr, TRUE, FALSE, nullptr));
    kept = std::malloc(2000);  // less can fit into what the heap has to spare
  });
  EXPECT_NE(kept, nullptr);
  for (const HANDLE handle : handles) CloseHandle(handle);
  EXPECT_EQ(more.handles, 1000U);
  EXPECT_GT(more.bytes, kHeapStep);
}

TEST(Resources, thousandProcessLookUps) {
  const Level more =
      growth(50, 1000, [] { EXPECT_EQ(findProcessByName(L"No-Such-Program.exe"), 0U); });
  EXPECT_EQ(more.handles, 0U);
  EXPECT_LE(more.bytes, kHeapStep);
}

TEST(Resources, thousandHttpExchanges) {
  const ForgetfulServer server(0, kHttpReply, isWholeHttp);
  const std::string body(2000, 'b');
  bool post = false;
  const Level more = growth(100, 1000, [&] {
    std::string reply;
    post = !post;
    EXPECT_TRUE(post ? httpPostJson(server.url() + "/submit", body, reply)
                     : httpGet(server.url() + "/week/current", reply));
    EXPECT_EQ(reply, "{\"accepted\":true}");
  });
  EXPECT_EQ(server.answered(), 1100);
  EXPECT_EQ(more.handles, 0U);
  EXPECT_LE(more.bytes, kHeapStep);
}

TEST(Resources, thousandFailedHttpExchanges) {
  const Level more = growth(100, 1000, [] {
    std::string reply;
    EXPECT_FALSE(httpGet("http://127.0.0.1:1/week/current", reply));
  });
  EXPECT_EQ(more.handles, 0U);
  EXPECT_LE(more.bytes, kHeapStep);
}

TEST(Resources, thousandRefusedTimerCommands) {
  const Level more = growth(50, 1000, [] { EXPECT_EQ(livesplitCommand("getfinaltime"), ""); });
  EXPECT_EQ(more.handles, 0U);
  EXPECT_LE(more.bytes, kHeapStep);
}

// Each command waits 250 ms after connecting, so there are few of them: a socket or a handle that
// stays shows after one. Memory is looked at where a command is refused.
TEST(Resources, twentyTimerCommands) {
  constexpr unsigned short kTimerPort = 16834;
  const ForgetfulServer timer(kTimerPort, "Ended\n", isWholeLine);
  const Level more =
      growth(5, 20, [] { EXPECT_EQ(livesplitCommand("getcurrenttimerphase"), "Ended"); });
  EXPECT_EQ(timer.answered(), 25);
  EXPECT_EQ(more.handles, 0U);
  EXPECT_LE(more.bytes, kHeapStep);
}

}  // namespace
}  // namespace launcher
