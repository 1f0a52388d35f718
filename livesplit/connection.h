#pragma once

#include <memory>
#include <optional>
#include <string>
#include <string_view>

namespace launcher {

/// One connection to LiveSplit's command server on this machine (TCP, 127.0.0.1,
/// port 16834). Blocking, without time-outs.
class LivesplitConnection {
 public:
  struct State;
  explicit LivesplitConnection(std::unique_ptr<State> state);
  LivesplitConnection(LivesplitConnection&&) noexcept;
  LivesplitConnection& operator=(LivesplitConnection&&) noexcept;
  LivesplitConnection(const LivesplitConnection&) = delete;
  LivesplitConnection& operator=(const LivesplitConnection&) = delete;
  ~LivesplitConnection();

  /// Connects and waits 250 ms, since the server can lose a command that reaches it
  /// before it got the processor and then never answers. Nothing when Winsock, the
  /// socket or the connection is refused.
  [[nodiscard]] static std::optional<LivesplitConnection> open();

  /// Sends `command` (with its line end) in one go and returns what one receive of
  /// at most 511 bytes delivers; a longer reply or a later segment is not waited
  /// for. Empty when nothing came.
  [[nodiscard]] std::string exchange(std::string_view command);

 private:
  std::unique_ptr<State> state_;
};

}  // namespace launcher
