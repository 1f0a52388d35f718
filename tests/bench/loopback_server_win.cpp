#include "tests/bench/loopback_server_win.h"

#include <winsock2.h>
#include <windows.h>

#include <atomic>
#include <cstdlib>
#include <mutex>
#include <thread>

namespace bench {
namespace {

constexpr std::string_view kHeadEnd = "\r\n\r\n";
constexpr std::string_view kLengthHeader = "Content-Length: ";

std::string answerTo(std::string_view line) {
  std::string body = "1\trunner\t754.56\n";
  if (line.starts_with("POST")) {
    body = R"({"accepted":true,"rank":1,"points":100,"token":"kq7-4821"})";
  } else if (line.starts_with("GET /week/current")) {
    body = R"({"week":"2026-W47","seed":20261147})";
  }
  return "HTTP/1.1 200 OK\r\nConnection: close\r\nContent-Type: application/json\r\n"
         "Content-Length: " + std::to_string(body.size()) + "\r\n\r\n" + body;
}

/// True when the bytes hold a request with all of its body.
bool isWhole(const std::string& bytes) {
  const std::size_t head = bytes.find(kHeadEnd);
  if (head == std::string::npos) return false;
  const std::size_t length = bytes.find(kLengthHeader);
  const std::size_t body =
      length < head ? std::strtoul(bytes.c_str() + length + kLengthHeader.size(), nullptr, 10) : 0;
  return bytes.size() >= head + kHeadEnd.size() + body;
}

}  // namespace

Ticks ticksNow() {
  LARGE_INTEGER now = {};
  (void)QueryPerformanceCounter(&now);
  return now.QuadPart;
}

double millisecondsBetween(Ticks start, Ticks end) {
  LARGE_INTEGER frequency = {};
  (void)QueryPerformanceFrequency(&frequency);
  return static_cast<double>(end - start) * 1000.0 / static_cast<double>(frequency.QuadPart);
}

struct LoopbackServer::Impl {
  Impl() {
    WSADATA data = {};
    (void)WSAStartup(MAKEWORD(2, 2), &data);
    listener = socket(AF_INET, SOCK_STREAM, IPPROTO_TCP);
    sockaddr_in address = {};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    (void)bind(listener, reinterpret_cast<const sockaddr*>(&address), sizeof address);
    (void)listen(listener, SOMAXCONN);
    int size = sizeof address;
    (void)getsockname(listener, reinterpret_cast<sockaddr*>(&address), &size);
    port = ntohs(address.sin_port);
    acceptor = std::thread([this] { acceptAll(); });
  }

  ~Impl() {
    stopping = true;
    (void)closesocket(listener);
    acceptor.join();
    (void)WSACleanup();
  }

  void acceptAll() {
    for (;;) {
      const SOCKET client = accept(listener, nullptr, nullptr);
      if (client == INVALID_SOCKET) return;
      const BOOL on = TRUE;
      (void)setsockopt(client, IPPROTO_TCP, TCP_NODELAY, reinterpret_cast<const char*>(&on),
                       sizeof on);
      const DWORD patience = 50;  // a client may hold its connection longer than we live
      (void)setsockopt(client, SOL_SOCKET, SO_RCVTIMEO, reinterpret_cast<const char*>(&patience),
                       sizeof patience);
      serve(client);  // one at a time is enough: the launcher has one thread
    }
  }

  void serve(SOCKET client) {
    std::string bytes;
    char buffer[65536];
    Ticks firstByte = 0;
    while (!stopping && !isWhole(bytes)) {
      const int got = recv(client, buffer, sizeof buffer, 0);
      if (got == 0 || (got < 0 && WSAGetLastError() != WSAETIMEDOUT)) break;
      if (got < 0) continue;
      if (bytes.empty()) firstByte = ticksNow();
      bytes.append(buffer, static_cast<std::size_t>(got));
    }
    if (isWhole(bytes)) {
      const std::string line = bytes.substr(0, bytes.find('\r'));
      {
        const std::lock_guard lock(mutex);
        requests.push_back({line, firstByte});
      }
      const std::string answer = answerTo(line);
      (void)send(client, answer.data(), static_cast<int>(answer.size()), 0);
    }
    (void)closesocket(client);
  }

  SOCKET listener = INVALID_SOCKET;
  unsigned short port = 0;
  std::thread acceptor;
  std::atomic<bool> stopping = false;
  mutable std::mutex mutex;  // guards what follows
  std::vector<Request> requests;
};

LoopbackServer::LoopbackServer() : impl_(std::make_unique<Impl>()) {}
LoopbackServer::~LoopbackServer() = default;

unsigned short LoopbackServer::port() const { return impl_->port; }
std::string LoopbackServer::url() const { return "http://127.0.0.1:" + std::to_string(port()); }

std::vector<LoopbackServer::Request> LoopbackServer::requests() const {
  const std::lock_guard lock(impl_->mutex);
  return impl_->requests;
}

void LoopbackServer::forget() {
  const std::lock_guard lock(impl_->mutex);
  impl_->requests.clear();
}

Ticks LoopbackServer::waitForSubmission(unsigned limitMs) const {
  const ULONGLONG end = GetTickCount64() + limitMs;
  for (;;) {
    for (const Request& request : requests()) {
      if (request.line.starts_with("POST /submit")) return request.firstByte;
    }
    if (GetTickCount64() >= end) return 0;
    Sleep(10);
  }
}

}  // namespace bench
