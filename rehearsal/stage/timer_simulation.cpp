#include "rehearsal/stage/timer_simulation.h"

#include <chrono>
#include <cstdlib>

namespace stage {

namespace {

constexpr Ticks kTicksPerMinute = 60 * kTicksPerSecond;
constexpr Ticks kTicksPerHour = 60 * kTicksPerMinute;
constexpr Ticks kTicksPerDay = 24 * kTicksPerHour;

/// The number with at least this many digits.
std::string digits(Ticks value, std::size_t width) {
  std::string text = std::to_string(value);
  return text.size() < width ? std::string(width - text.size(), '0') + text : text;
}

std::string currentForm(Ticks time) {
  std::string text = time < 0 ? "-" : "";
  const Ticks size = time < 0 ? -time : time;
  if (size >= kTicksPerDay) text += digits(size / kTicksPerDay, 1) + ".";
  text += digits(size % kTicksPerDay / kTicksPerHour, 2) + ":" +
          digits(size % kTicksPerHour / kTicksPerMinute, 2) + ":" +
          digits(size % kTicksPerMinute / kTicksPerSecond, 2);
  const Ticks fraction = size % kTicksPerSecond;
  if (fraction != 0) text += "." + digits(fraction, 7);
  return text;
}

std::string componentForm(Ticks time) {
  std::string text = time < 0 ? "\xE2\x88\x92" : "";  // U+2212, no ASCII hyphen
  const Ticks size = time < 0 ? -time : time;
  const Ticks hours = size / kTicksPerHour;
  if (hours > 0) text += digits(hours, 1) + ":";
  text += digits(size % kTicksPerHour / kTicksPerMinute, hours > 0 ? 2 : 1) + ":" +
          digits(size % kTicksPerMinute / kTicksPerSecond, 2) + "." +
          digits(size % kTicksPerSecond / (kTicksPerSecond / 100), 2);
  return text;
}

Ticks steadyClock() {
  using TickDuration = std::chrono::duration<Ticks, std::ratio<1, kTicksPerSecond>>;
  return std::chrono::duration_cast<TickDuration>(
             std::chrono::steady_clock::now().time_since_epoch())
      .count();
}

}  // namespace

std::string formatTimerTime(std::optional<Ticks> time, TimerGeneration generation) {
  if (generation == TimerGeneration::component) return time ? componentForm(*time) : "0.00";
  return time ? currentForm(*time) : "-";
}

std::optional<Ticks> parseTimerTime(std::string_view text) {
  double seconds = 0;
  for (;;) {
    const std::size_t colon = text.find(':');
    const std::string field(text.substr(0, colon));
    char* end = nullptr;
    const double value = std::strtod(field.c_str(), &end);
    if (field.empty() || *end != '\0') return std::nullopt;
    seconds = seconds * 60 + value;
    if (colon == std::string_view::npos) return ticksOf(seconds);
    text.remove_prefix(colon + 1);
  }
}

TimerSimulation::TimerSimulation() : TimerSimulation(Setup()) {}

TimerSimulation::TimerSimulation(Setup setup) : setup_(std::move(setup)) {
  if (!setup_.clock) setup_.clock = steadyClock;
}

std::string TimerSimulation::phase() const {
  switch (phase_) {
    case Phase::notRunning:
      return "NotRunning";
    case Phase::running:
      return "Running";
    case Phase::paused:
      return "Paused";
    case Phase::ended:
      return "Ended";
  }
  return {};
}

std::optional<std::string> TimerSimulation::answer(std::string_view command) {
  if (command == "getcurrenttimerphase") return phase();
  if (command == "getfinaltime") return timeText(finalTime());
  // With a blank after it the command asks for a comparison; the one named "" (and any
  // other that is not the personal best) has no time.
  if (command == "getfinaltime Personal Best") return timeText(setup_.personalBest);
  if (command.starts_with("getfinaltime ")) return timeText(std::nullopt);
  if (command == "getcurrenttime") return timeText(currentTime());
  if (command == "getlastsplittime") {
    if (splits_.empty() && setup_.generation == TimerGeneration::component) return std::nullopt;
    return timeText(lastSplit());
  }
  control(command);
  return std::nullopt;
}

void TimerSimulation::control(std::string_view command) {
  constexpr std::string_view kSetGameTime = "setgametime ";
  if (command == "starttimer") {
    start();
  } else if (command == "split") {
    split(false);
  } else if (command == "skipsplit") {
    split(true);
  } else if (command == "pause" && phase_ == Phase::running) {
    stoppedReal_ = realTime();
    phase_ = Phase::paused;
  } else if (command == "resume" && phase_ == Phase::paused) {
    startedAt_ = setup_.clock() - (stoppedReal_ - setup_.startOffset);
    phase_ = Phase::running;
  } else if (command == "reset") {
    reset();
  } else if (command.starts_with(kSetGameTime)) {
    gameTime_ = parseTimerTime(command.substr(kSetGameTime.size()));
  }
}

void TimerSimulation::start() {
  if (phase_ != Phase::notRunning) return;
  startedAt_ = setup_.clock();
  splits_.clear();
  gameTime_.reset();
  phase_ = Phase::running;
}

void TimerSimulation::split(bool skipped) {
  if (phase_ != Phase::running || realTime() < 0) return;
  const bool lastSegment = splits_.size() + 1 >= setup_.segments;
  if (skipped && lastSegment) return;  // the last segment cannot be skipped
  splits_.push_back(skipped ? std::nullopt : chosenTime());
  if (lastSegment) {
    stoppedReal_ = realTime();
    phase_ = Phase::ended;
  }
}

void TimerSimulation::reset() {
  if (phase_ == Phase::ended && lastSplit() &&
      (!setup_.personalBest || *lastSplit() < *setup_.personalBest)) {
    setup_.personalBest = lastSplit();
  }
  phase_ = Phase::notRunning;
  splits_.clear();
  gameTime_.reset();
}

Ticks TimerSimulation::realTime() const {
  switch (phase_) {
    case Phase::notRunning:
      return setup_.startOffset;
    case Phase::running:
      return setup_.startOffset + setup_.clock() - startedAt_;
    case Phase::paused:
    case Phase::ended:
      return stoppedReal_;
  }
  return 0;
}

std::optional<Ticks> TimerSimulation::chosenTime() const {
  if (setup_.gameTimeChosen) return gameTime_;
  return realTime();
}

std::optional<Ticks> TimerSimulation::finalTime() const {
  return phase_ == Phase::ended ? lastSplit() : setup_.personalBest;
}

std::optional<Ticks> TimerSimulation::lastSplit() const {
  return splits_.empty() ? std::nullopt : splits_.back();
}

Ticks TimerSimulation::currentTime() const {
  // Without a game time the timer shows the real time.
  return chosenTime().value_or(realTime());
}

std::string TimerSimulation::timeText(std::optional<Ticks> time) const {
  return formatTimerTime(time, setup_.generation);
}

}  // namespace stage
