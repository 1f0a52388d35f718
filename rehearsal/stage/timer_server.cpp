#include "rehearsal/stage/timer_server.h"

#include <winsock2.h>
#include <windows.h>

#include <algorithm>
#include <atomic>
#include <cstdint>
#include <list>
#include <map>
#include <mutex>
#include <stdexcept>
#include <thread>

namespace stage {

namespace {

constexpr unsigned kLossWindowMs = 20;
constexpr unsigned kIdlePollMs = 50;  // what comes is seen at once; this is how late a stop is
constexpr unsigned kLossPollMs = 1;  // the age of a connection must be known to a few ms

struct CloseSocket {
  void operator()(const SOCKET* socket) const {
    closesocket(*socket);
    delete socket;
  }
};
using Socket = std::unique_ptr<SOCKET, CloseSocket>;

Socket ownSocket(SOCKET socket) {
  return socket == INVALID_SOCKET ? nullptr : Socket(new SOCKET(socket));
}

class Winsock {
 public:
  Winsock() {
    WSADATA data;
    if (WSAStartup(MAKEWORD(2, 2), &data) != 0) throw std::runtime_error("no Winsock");
  }
  ~Winsock() { WSACleanup(); }
  Winsock(const Winsock&) = delete;
  Winsock& operator=(const Winsock&) = delete;
};

bool readable(SOCKET socket, unsigned waitMs) {
  fd_set set;
  set.fd_count = 1;
  set.fd_array[0] = socket;
  timeval wait{0, static_cast<long>(waitMs) * 1000};
  return select(0, &set, nullptr, nullptr, &wait) > 0;
}

void resetOnClose(SOCKET socket) {
  const linger hard{1, 0};
  setsockopt(socket, SOL_SOCKET, SO_LINGER, reinterpret_cast<const char*>(&hard), sizeof hard);
}

Socket listenOn(unsigned short port) {
  Socket socket = ownSocket(::socket(AF_INET, SOCK_STREAM, IPPROTO_TCP));
  if (!socket) throw std::runtime_error("the timer has no socket");
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_port = htons(port);
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  // Connections of an earlier timer that are still in TIME_WAIT must not block the port.
  // Where that option would let two listeners share the port (Windows), it is not needed.
  const BOOL exclusive = TRUE;
  setsockopt(*socket, SOL_SOCKET, SO_EXCLUSIVEADDRUSE,
             reinterpret_cast<const char*>(&exclusive), sizeof exclusive);
  if (bind(*socket, reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0 ||
      listen(*socket, SOMAXCONN) != 0) {
    const int error = WSAGetLastError();
    throw std::runtime_error("the timer cannot listen on port " + std::to_string(port) +
                             " (error " + std::to_string(error) + ")");
  }
  return socket;
}

unsigned short portOf(SOCKET socket) {
  sockaddr_in address{};
  int size = sizeof address;
  getsockname(socket, reinterpret_cast<sockaddr*>(&address), &size);
  return ntohs(address.sin_port);
}

/// Milliseconds, fine enough for the loss window.
std::uint64_t nowMs() {
  LARGE_INTEGER count;
  LARGE_INTEGER frequency;
  QueryPerformanceCounter(&count);
  QueryPerformanceFrequency(&frequency);
  return static_cast<std::uint64_t>(count.QuadPart / (frequency.QuadPart / 1000));
}

}  // namespace

TimerReply TimerReply::line(std::string text) { return {Kind::line, std::move(text), 0}; }
TimerReply TimerReply::raw(std::string bytes) { return {Kind::raw, std::move(bytes), 0}; }
TimerReply TimerReply::inTwoSegments(std::string first, std::string second, unsigned apartMs) {
  TimerReply reply = raw(std::move(first));
  reply.later = std::move(second);
  reply.laterMs = apartMs;
  return reply;
}
TimerReply TimerReply::silence() { return {Kind::silence, {}, 0}; }
TimerReply TimerReply::close() { return {Kind::close, {}, 0}; }
TimerReply TimerReply::reset() { return {Kind::reset, {}, 0}; }

struct TimerServer::Impl {
  explicit Impl(Options given)
      : options(std::move(given)), listener(listenOn(options.port)), port(portOf(*listener)) {
    manner = options.manner;
  }

  ~Impl() { stop(); }

  void start() {
    acceptor = std::thread([this] { acceptLoop(); });
  }

  void stop() {
    if (!acceptor.joinable()) return;
    stopping = true;
    acceptor.join();
    for (std::thread& client : clients) client.join();
    listener.reset();
  }

  void acceptLoop() {
    // The newest moment at which no connection was waiting: a waiting one is younger than
    // this. A late look (a busy machine) thus makes a connection seem older, never younger,
    // and a client that waits long enough loses nothing.
    std::uint64_t nobodyWaitedMs = nowMs();
    while (!stopping) {
      const bool losing = manner == TimerManner::dropsFirst20Ms;
      const std::uint64_t lookMs = nowMs();
      if (!readable(*listener, losing ? kLossPollMs : kIdlePollMs)) {
        nobodyWaitedMs = lookMs;
        continue;
      }
      Socket client = ownSocket(accept(*listener, nullptr, nullptr));
      if (!client) continue;
      const unsigned number = ++connectionCount;
      options.timeline.append("timer", "connect", std::to_string(number));
      if (manner == TimerManner::acceptsAndCloses) continue;
      clients.emplace_back([this, number, nobodyWaitedMs, socket = std::move(client)] {
        serve(*socket, number, nobodyWaitedMs);
      });
    }
  }

  void serve(SOCKET socket, unsigned number, std::uint64_t connectedMs) {
    std::string pending;
    char buffer[4096];
    while (!stopping) {
      if (!readable(socket, kIdlePollMs)) continue;
      const int got = recv(socket, buffer, sizeof buffer, 0);
      if (got <= 0) return;
      if (manner == TimerManner::dropsFirst20Ms && nowMs() - connectedMs < kLossWindowMs) {
        lost += static_cast<std::size_t>(got);
        continue;
      }
      pending.append(buffer, static_cast<std::size_t>(got));
      for (std::size_t end; (end = pending.find('\n')) != std::string::npos;) {
        std::string line = pending.substr(0, end);
        pending.erase(0, end + 1);
        if (!line.empty() && line.back() == '\r') line.pop_back();
        if (!answer(socket, number, line)) return;
      }
    }
  }

  /// False when the connection is to be closed.
  bool answer(SOCKET socket, unsigned number, const std::string& command) {
    const TimerReply reply = take(number, command);
    if (reply.delayMs > 0) Sleep(reply.delayMs);
    switch (reply.kind) {
      case TimerReply::Kind::line:
        transmit(socket, reply.text + lineEnd());
        return true;
      case TimerReply::Kind::raw:
        transmit(socket, reply.text);
        if (reply.laterMs > 0) {
          Sleep(reply.laterMs);
          transmit(socket, reply.later);
        }
        return true;
      case TimerReply::Kind::silence:
        return true;
      case TimerReply::Kind::close:
        return false;
      case TimerReply::Kind::reset:
        resetOnClose(socket);
        return false;
    }
    return true;
  }

  TimerReply take(unsigned number, const std::string& command) {
    const std::lock_guard lock(mutex);
    received.push_back({number, command});
    options.timeline.append("timer", "command", command);
    if (const auto found = replies.find(command); found != replies.end()) {
      const std::vector<TimerReply>& list = found->second;
      if (list.empty()) return TimerReply::silence();
      return list[std::min(asked[command]++, list.size() - 1)];
    }
    if (simulation) {
      if (std::optional<std::string> text = simulation->answer(command)) {
        return TimerReply::line(std::move(*text));
      }
    }
    return TimerReply::silence();
  }

  void transmit(SOCKET socket, const std::string& bytes) {
    options.timeline.append("timer", "reply", bytes);
    send(socket, bytes.data(), static_cast<int>(bytes.size()), 0);
  }

  [[nodiscard]] const char* lineEnd() const {
    return options.generation == TimerGeneration::component ? "\r\n" : "\n";
  }

  Winsock winsock;
  Options options;
  Socket listener;
  unsigned short port;
  std::thread acceptor;
  std::list<std::thread> clients;  // only the acceptor adds to it
  std::atomic<bool> stopping = false;
  std::atomic<TimerManner> manner = TimerManner::proper;
  std::atomic<unsigned> connectionCount = 0;
  std::atomic<std::size_t> lost = 0;

  mutable std::mutex mutex;  // guards what follows
  std::map<std::string, std::vector<TimerReply>> replies;
  std::map<std::string, std::size_t> asked;
  std::optional<TimerSimulation> simulation;
  std::vector<TimerCommand> received;
};

TimerServer::TimerServer() : TimerServer(Options()) {}

TimerServer::TimerServer(Options options) : impl_(std::make_unique<Impl>(std::move(options))) {
  if (impl_->options.prepare) impl_->options.prepare(*this);
  impl_->start();
}

TimerServer::~TimerServer() = default;

unsigned short TimerServer::port() const { return impl_->port; }

void TimerServer::reply(std::string command, std::vector<TimerReply> replies) {
  const std::lock_guard lock(impl_->mutex);
  impl_->asked[command] = 0;
  impl_->replies[std::move(command)] = std::move(replies);
}

void TimerServer::reply(std::string command, std::string line) {
  reply(std::move(command), std::vector<TimerReply>{TimerReply::line(std::move(line))});
}

void TimerServer::replyState(std::string_view phase, std::optional<double> finalTime,
                             std::optional<double> lastSplit,
                             std::optional<double> currentTime) {
  const TimerGeneration generation = impl_->options.generation;
  const auto text = [&](std::optional<double> seconds) {
    return formatTimerTime(seconds ? std::optional<Ticks>(ticksOf(*seconds)) : std::nullopt,
                           generation);
  };
  reply("getcurrenttimerphase", std::string(phase));
  reply("getfinaltime", text(finalTime));
  if (!lastSplit && generation == TimerGeneration::component) {
    reply("getlastsplittime", std::vector<TimerReply>{});
  } else {
    reply("getlastsplittime", text(lastSplit));
  }
  reply("getcurrenttime", text(currentTime));
}

void TimerServer::replyEnded(double seconds) { replyState("Ended", seconds, seconds, seconds); }

void TimerServer::simulate(TimerSimulation simulation) {
  const std::lock_guard lock(impl_->mutex);
  impl_->simulation = std::move(simulation);
}

void TimerServer::setManner(TimerManner manner) { impl_->manner = manner; }

std::vector<TimerCommand> TimerServer::commands() const {
  const std::lock_guard lock(impl_->mutex);
  return impl_->received;
}

std::vector<std::string> TimerServer::commandTexts() const {
  std::vector<std::string> texts;
  for (const TimerCommand& command : commands()) texts.push_back(command.text);
  return texts;
}

std::size_t TimerServer::connections() const { return impl_->connectionCount; }

std::size_t TimerServer::lostBytes() const { return impl_->lost; }

void TimerServer::stop() { impl_->stop(); }

}  // namespace stage
