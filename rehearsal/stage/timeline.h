#pragma once

#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace stage {

/// One thing that happened on the stage.
struct Event {
  std::uint64_t tickMs = 0;  ///< GetTickCount64 of the writer
  std::string who;   ///< "steam", "game", "timer", "card", "browser", "server", "box", ...
  std::string what;  ///< "start", "exit", "command", "request", ...; listed with each writer
  std::string text;  ///< the exact bytes: a command line, a request, a URL
};

/// The one file into which everybody on the stage writes what happened: the stand-in
/// programs (processes of their own), the race server, the timer and the message box
/// watcher. One line per event, written whole, in the order in which it happened:
///
///     1234567 <tab> steam <tab> start <tab> "S:\a\steam\steam.exe" -applaunch 1943950
///
/// In the text, backslash, tab, line feed, carriage return and NUL stand as \\ \t \n \r \0;
/// every other byte stands as it is.
class Timeline {
 public:
  /// A timeline without a file swallows every event.
  Timeline() = default;
  explicit Timeline(std::filesystem::path file);

  /// Appends one event. Safe from any thread and any process.
  void append(std::string_view who, std::string_view what, std::string_view text = {}) const;

  /// Every event so far.
  [[nodiscard]] std::vector<Event> events() const;

  /// The events of one writer, optionally only those of one kind.
  [[nodiscard]] std::vector<Event> events(std::string_view who, std::string_view what = {}) const;

  /// The text of the first event of this writer and kind; nothing when there is none.
  [[nodiscard]] std::optional<std::string> first(std::string_view who,
                                                 std::string_view what) const;

  /// Waits until at least `count` such events are there; false when the limit passes first.
  [[nodiscard]] bool waitFor(std::string_view who, std::string_view what, std::size_t count = 1,
                             unsigned limitMs = 10000) const;

  [[nodiscard]] const std::filesystem::path& file() const { return file_; }

 private:
  std::filesystem::path file_;
};

/// One event as its line in the file, without tick and line feed, and back.
std::string formatEvent(const Event& event);
std::optional<Event> parseEvent(std::string_view line);

}  // namespace stage
