#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace stage {

/// The two generations of LiveSplit's command server.
enum class TimerGeneration {
  current,    ///< 1.8.29 and later: "00:12:34.5600000", "-", line feed
  component,  ///< up to 1.8.28: "12:34.56", "0.00", carriage return and line feed
};

/// A time in ticks of 100 ns, as .NET counts.
using Ticks = std::int64_t;
constexpr Ticks kTicksPerSecond = 10'000'000;
constexpr Ticks ticksOf(double seconds) {
  return static_cast<Ticks>(seconds * 1e7 + (seconds < 0 ? -0.5 : 0.5));
}

/// The text that the timer writes for a time (nothing: no time), without a line end:
/// current: "[-][d.]hh:mm:ss[.fffffff]" or "-"; component: "m:ss.ff", "h:mm:ss.ff" (hours
/// go beyond 24, minus is U+2212) or "0.00".
std::string formatTimerTime(std::optional<Ticks> time, TimerGeneration generation);

/// The time of "30.25", "1:02.5" or "1:02:03"; nothing for anything else.
std::optional<Ticks> parseTimerTime(std::string_view text);

/// A small simulation of the real timer behind its command server. It knows the read
/// commands getcurrenttimerphase, getfinaltime, getlastsplittime and getcurrenttime and the
/// commands starttimer, split, skipsplit, pause, resume, reset and setgametime, which have no
/// reply; every other line is an unknown command, which the real timer and this one
/// answer with silence. (A few commands that the real timer also has, such as getdelta, are
/// unknown here.)
class TimerSimulation {
 public:
  struct Setup {
    TimerGeneration generation = TimerGeneration::current;
    std::size_t segments = 1;                        ///< the split of the last one ends the run
    std::optional<Ticks> personalBest = std::nullopt;
    Ticks startOffset = 0;                           ///< negative: the timer starts below zero
    bool gameTimeChosen = false;                     ///< timing method "game time"
    /// Monotonic time in ticks; empty: the machine's steady clock.
    std::function<Ticks()> clock = {};
  };

  TimerSimulation();
  explicit TimerSimulation(Setup setup);

  /// Answer to one command line (without its line end): the text without a line end, or
  /// nothing when the timer stays silent.
  std::optional<std::string> answer(std::string_view command);

  /// "NotRunning", "Running", "Paused" or "Ended".
  [[nodiscard]] std::string phase() const;

 private:
  enum class Phase { notRunning, running, paused, ended };

  void control(std::string_view command);
  void start();
  void split(bool skipped);
  void reset();
  [[nodiscard]] Ticks realTime() const;
  [[nodiscard]] std::optional<Ticks> chosenTime() const;
  [[nodiscard]] std::optional<Ticks> finalTime() const;
  [[nodiscard]] std::optional<Ticks> lastSplit() const;
  [[nodiscard]] Ticks currentTime() const;
  [[nodiscard]] std::string timeText(std::optional<Ticks> time) const;

  Setup setup_;
  Phase phase_ = Phase::notRunning;
  Ticks startedAt_ = 0;
  Ticks stoppedReal_ = 0;  ///< real time when paused or ended
  std::optional<Ticks> gameTime_;
  std::vector<std::optional<Ticks>> splits_;
};

}  // namespace stage
