#include "livesplit/connection.h"

#include "core/win_handle.h"

namespace launcher {
namespace {

constexpr unsigned short kServerPort = 16834;
constexpr DWORD kSettleMs = 50;
constexpr int kReplyBytes = 511;

bool startWinsock() {
  WSADATA data = {};
  return WSAStartup(MAKEWORD(2, 2), &data) == 0;
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
