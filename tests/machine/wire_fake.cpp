// server/http.h, livesplit/connection.h and steam/registry.h on the machine in memory.

#include <utility>

#include "livesplit/connection.h"
#include "server/http.h"
#include "steam/libraries.h"
#include "steam/registry.h"
#include "tests/machine/machine.h"

namespace launcher {
namespace {

using machine::Call;
using machine::Failure;
using machine::Machine;
using machine::Reply;

constexpr std::int64_t kConnectLimitMs = 60000;
constexpr std::int64_t kSettleMs = 250;
constexpr std::size_t kReplyBytes = 511;
constexpr std::size_t kRegistryUnits = 260;

Machine& here() { return Machine::current(); }

/// One exchange; a failure of the call comes on top of what the server does.
bool exchangeWith(Failure failure, const std::string& url, const char* method,
                  const std::string& body, std::string& reply) {
  Reply got{failure, {}};
  if (failure != Failure::refused && failure != Failure::timedOut) {
    got = here().exchange(url, method, body);
    if (failure == Failure::stop) throw machine::Stopped{};
    if (got.how == Failure::none) got.how = failure;
  }
  if (got.how == Failure::timedOut) here().advance(kConnectLimitMs);
  const bool answered = got.how == Failure::none || got.how == Failure::half ||
                        got.how == Failure::empty;
  if (got.how == Failure::half) got.body.resize(got.body.size() / 2);
  if (answered && got.how != Failure::empty) reply += got.body;
  here().leave(answered ? reply : "failed");
  return answered;
}

}  // namespace

bool httpGet(const std::string& url, std::string& reply) {
  return exchangeWith(here().enter(Call::httpGet, url), url, "GET", {}, reply);
}

bool httpPostJson(const std::string& url, const std::string& body, std::string& reply) {
  return exchangeWith(here().enter(Call::httpPostJson, url, body), url, "POST", body, reply);
}

struct LivesplitConnection::State {};

LivesplitConnection::LivesplitConnection(std::unique_ptr<State> state)
    : state_(std::move(state)) {}
LivesplitConnection::LivesplitConnection(LivesplitConnection&&) noexcept = default;
LivesplitConnection& LivesplitConnection::operator=(LivesplitConnection&&) noexcept = default;
LivesplitConnection::~LivesplitConnection() = default;

std::optional<LivesplitConnection> LivesplitConnection::open() {
  const Failure failure = here().enter(Call::livesplitOpen);
  const bool connected = failure == Failure::none && here().timerListens;
  here().leave(connected);
  if (!connected) return std::nullopt;
  here().advance(kSettleMs);
  return LivesplitConnection(std::make_unique<State>());
}

std::string LivesplitConnection::exchange(std::string_view command) {
  const Failure failure = here().enter(Call::livesplitExchange, command);
  std::string reply;
  if (here().timerListens && failure != Failure::reset && failure != Failure::empty) {
    const std::string line(command.substr(0, command.find_last_not_of("\r\n") + 1));
    std::optional<std::string> answer = here().timerAnswers(line);
    while (!answer && here().timerListens) {
      if (!here().advanceToNextEvent()) throw machine::Hang{"a timer that stays silent"};
    }
    reply = std::move(answer).value_or("").substr(0, kReplyBytes);
  }
  if (failure == Failure::half) reply.resize(reply.size() / 2);
  here().leave(reply);
  return reply;
}

std::string readSteamRoot() {
  const Failure failure = here().enter(Call::readSteamRoot);
  std::string root;
  if (failure == Failure::none && here().steamPath &&
      here().steamPath->size() < kRegistryUnits) {
    root = withBackslashes(machine::toUtf8(*here().steamPath));
  }
  here().leave(root);
  return root;
}

}  // namespace launcher
