#include "livesplit/connection.h"

#include "core/win_handle.h"

#include <mstcpip.h>

namespace launcher {
namespace {

constexpr unsigned short kServerPort = 16834;
// The server can lose a command that reaches it before it got the processor for the first time
// after the connect. 50 ms were too few on a machine whose game is just closing; with 250 ms
// nothing was lost in stalls of up to 200 ms.
constexpr DWORD kSettleMs = 250;
constexpr int kReplyBytes = 511;

bool startWinsock() {
  WSADATA data = {};
  return WSAStartup(MAKEWORD(2, 2), &data) == 0;
}

/// Windows answers a refusal by this machine with two more attempts, which takes 2 seconds;
/// this asks it for none. A system that does not know the option takes its time.
void takeFirstRefusal(SOCKET socket) {
  TCP_INITIAL_RTO_PARAMETERS parameters = {};
  parameters.Rtt = TCP_INITIAL_RTO_UNSPECIFIED_RTT;
  parameters.MaxSynRetransmissions = TCP_INITIAL_RTO_NO_SYN_RETRANSMISSIONS;
  DWORD returned = 0;
  (void)WSAIoctl(socket, SIO_TCP_INITIAL_RTO, &parameters, sizeof(parameters), nullptr, 0,
                 &returned, nullptr, nullptr);
}

bool connectToServer(SOCKET socket) {
  sockaddr_in address = {};
  address.sin_family = AF_INET;
  address.sin_port = htons(kServerPort);
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  return connect(socket, reinterpret_cast<const sockaddr*>(&address), sizeof(address)) == 0;
}

}  // namespace

struct LivesplitConnection::State {
  UniqueWinsock winsock;  // outlives the socket
  UniqueSocket socket;
};

LivesplitConnection::LivesplitConnection(std::unique_ptr<State> state)
    : state_(std::move(state)) {}
LivesplitConnection::LivesplitConnection(LivesplitConnection&&) noexcept = default;
LivesplitConnection& LivesplitConnection::operator=(LivesplitConnection&&) noexcept = default;
LivesplitConnection::~LivesplitConnection() = default;

std::optional<LivesplitConnection> LivesplitConnection::open() {
  auto state = std::make_unique<State>();
  state->winsock = UniqueWinsock(startWinsock());
  if (!state->winsock) return std::nullopt;
  state->socket = UniqueSocket(socket(AF_INET, SOCK_STREAM, IPPROTO_TCP));
  if (!state->socket) return std::nullopt;
  takeFirstRefusal(state->socket.get());
  if (!connectToServer(state->socket.get())) return std::nullopt;
  Sleep(kSettleMs);
  return LivesplitConnection(std::move(state));
}

std::string LivesplitConnection::exchange(std::string_view command) {
  // A command that does not get through shows as an empty reply.
  (void)send(state_->socket.get(), command.data(), static_cast<int>(command.size()), 0);
  char buffer[kReplyBytes + 1] = {};
  const int received = recv(state_->socket.get(), buffer, kReplyBytes, 0);
  return received > 0 ? std::string(buffer, static_cast<std::size_t>(received)) : std::string();
}

}  // namespace launcher
