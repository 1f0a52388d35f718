#pragma once

#include <cstddef>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "rehearsal/stage/timeline.h"
#include "rehearsal/stage/timer_simulation.h"

namespace stage {

/// The port of LiveSplit's command server.
constexpr unsigned short kTimerPort = 16834;

/// What the timer does on one command.
struct TimerReply {
  enum class Kind {
    line,     ///< `text` and the line end of the timer's generation
    raw,      ///< `text` byte for byte
    silence,  ///< nothing; the connection stays open
    close,    ///< the connection is closed
    reset,    ///< the connection is reset; under Wine a regular end goes in front of it
  };
  Kind kind = Kind::line;
  std::string text = {};
  unsigned delayMs = 0;  ///< waited before
  std::string later = {};  ///< with `raw`: a second segment, `laterMs` after the first
  unsigned laterMs = 0;

  static TimerReply line(std::string text);
  static TimerReply raw(std::string bytes);
  static TimerReply inTwoSegments(std::string first, std::string second, unsigned apartMs);
  static TimerReply silence();
  static TimerReply close();
  static TimerReply reset();
};

/// One command as the timer received it.
struct TimerCommand {
  unsigned connection = 0;  ///< 1 for the first connection, ...
  std::string text;         ///< without its line end
};

/// How a connection is treated before any command is looked at.
enum class TimerManner {
  proper,             ///< as the real timer
  dropsFirst20Ms,     ///< loses whatever arrives within 20 ms of connecting, as the real one can
  acceptsAndCloses,   ///< accepts and closes at once
};

/// LiveSplit's command server on 127.0.0.1: any number of clients, command lines ended by
/// LF or CR LF, several in one packet, answered in order. Silent on every command that has
/// no reply.
///
/// With a timeline it writes "timer connect" (connection number), "timer command" (the line)
/// and "timer reply" (the exact bytes sent).
class TimerServer {
 public:
  struct Options {
    unsigned short port = kTimerPort;  ///< 0: any free one (port() tells)
    TimerGeneration generation = TimerGeneration::current;
    TimerManner manner = TimerManner::proper;
    Timeline timeline = {};
    /// Called before the first command is read: sets replies that must not come late.
    std::function<void(TimerServer&)> prepare = {};
  };

  /// A timer without replies: silent on everything until set otherwise.
  /// Throws std::runtime_error when the port is taken.
  TimerServer();
  explicit TimerServer(Options options);
  ~TimerServer();
  TimerServer(const TimerServer&) = delete;
  TimerServer& operator=(const TimerServer&) = delete;

  [[nodiscard]] unsigned short port() const;

  /// Replies to one command: the first time it is asked with the first of them, and so on;
  /// the last one stays for every further time. An empty list: silence.
  void reply(std::string command, std::vector<TimerReply> replies);
  /// One line for every time, for example reply("getfinaltime", "00:12:34.5600000").
  void reply(std::string command, std::string line);

  /// The four read commands at once, as times in seconds; nothing is "no time" in the text
  /// of this timer's generation (and silence for the component's missing last split).
  void replyState(std::string_view phase, std::optional<double> finalTime,
                  std::optional<double> lastSplit, std::optional<double> currentTime);

  /// The state that a finished run leaves: "Ended" and three times the same time.
  void replyEnded(double seconds);

  /// Commands without a reply of their own go to this simulation of the real timer.
  void simulate(TimerSimulation simulation);

  void setManner(TimerManner manner);

  /// Every command so far in the order of arrival; those that were lost are not among them.
  [[nodiscard]] std::vector<TimerCommand> commands() const;
  /// The command texts alone.
  [[nodiscard]] std::vector<std::string> commandTexts() const;
  [[nodiscard]] std::size_t connections() const;
  /// Bytes lost by TimerManner::dropsFirst20Ms so far.
  [[nodiscard]] std::size_t lostBytes() const;

  /// Stops listening and closes every connection.
  void stop();

 private:
  struct Impl;
  std::unique_ptr<Impl> impl_;
};

}  // namespace stage
