#include "tests/run/stops.h"

#include <algorithm>
#include <optional>
#include <utility>

#include "tests/run/companion.h"
#include "tests/run/faults.h"
#include "tests/run/invariants.h"

namespace worlds {
namespace {

using machine::Stop;

void note(StopReport& report, const std::string& what, std::vector<std::string> broken) {
  for (std::string& line : broken) {
    if (report.broken.size() < kMostReported) report.broken.push_back(what + ": " + line);
  }
}

void count(const Scene& scene, const std::string& stop, StopReport& report) {
  for (const auto& [seed, receipt] : scene.finished) {
    const int taken = scene.accepted(seed);
    if (taken > 0) {
      ++(taken == 1 ? report.once : taken == 2 ? report.twice : report.more);
      if (taken > 1) report.repeatedAt.push_back(stop);
    } else if (scene.isInReceipt(seed) || scene.isQueued(seed)) {
      ++report.kept;
    } else if (scene.isArchived(seed)) {
      ++report.copied;
    } else {
      ++report.lost;
      report.lostAt.push_back(stop);
    }
  }
}

/// The finished runs that no later run overwrites: queued, or whole in data\receipts.
std::vector<std::string> copiedRuns(const Scene& scene) {
  std::vector<std::string> seeds;
  for (const auto& [seed, receipt] : scene.finished) {
    if (scene.isQueued(seed) || scene.isArchived(seed)) seeds.push_back(seed);
  }
  return seeds;
}

std::vector<std::string> undelivered(const Scene& scene, const std::vector<std::string>& seeds) {
  std::vector<std::string> broken;
  for (const std::string& seed : seeds) {
    if (scene.accepted(seed) == 0) broken.push_back("run " + seed + " is not delivered");
  }
  return broken;
}

std::string textOf(const Stop& stop, machine::Call call) {
  return std::to_string(stop.call) + (stop.inMiddle ? " in " : " before ") + nameOf(call);
}

void playStop(const World& world, Next next, const Stop& stop, machine::Call call,
              StopReport& report) {
  Scene scene(world);
  if (next == Next::anotherRun || next == Next::queue) {
    scene.world.plays.push_back(Plays::finished);
  }
  scene.machine.stopAt = stop;
  const Play first = play(scene);
  const std::string what = world.name + ", stop " + textOf(stop, call) + ", " + nameOf(next);
  note(report, what, violations(scene, first));
  const std::vector<std::string> copied = copiedRuns(scene);
  scene.machine.stopAt.reset();
  scene.world.race = next == Next::offline ? Race::unreachable : Race::accepts;
  const Play second = play(scene, next == Next::upload ? "--upload" : world.argument);
  note(report, what + ", next start", violations(scene, second));
  if (next == Next::queue) {
    note(report, what + ", companion", queueByHand(scene, true).broken);
    if (!world.server.empty()) note(report, what, undelivered(scene, copied));
  }
  ++report.stops;
  count(scene, textOf(stop, call), report);
}

void addStops(const std::vector<machine::Call>& calls,
              std::vector<std::pair<Stop, machine::Call>>& stops) {
  for (std::size_t i = 0; i < calls.size(); ++i) {
    stops.push_back({{i, false}, calls[i]});
    if (machine::hasMiddle(calls[i])) stops.push_back({{i, true}, calls[i]});
  }
}

/// The stops of the world's run, with the calls at which they are.
std::vector<std::pair<Stop, machine::Call>> stopsOf(const World& world) {
  Scene scene(world);
  (void)play(scene);
  std::vector<std::pair<Stop, machine::Call>> stops;
  addStops(scene.machine.calls, stops);
  return stops;
}

/// The stop before the world's run is submitted; nothing when it submits none.
std::optional<Stop> stopBeforeSubmission(const World& world) {
  const auto stops = stopsOf(world);
  const auto submission = std::find_if(stops.rbegin(), stops.rend(), [](const auto& stop) {
    return stop.second == machine::Call::httpPostJson && !stop.first.inMiddle;
  });
  if (submission == stops.rend()) return std::nullopt;
  return submission->first;
}

/// Ends the run there, and finishes another. The runs that had a copy in between.
std::vector<std::string> leaveARunInTheArchive(Scene& scene, const Stop& stop) {
  scene.world.plays.push_back(Plays::finished);
  scene.machine.stopAt = stop;
  (void)play(scene);
  scene.machine.stopAt.reset();
  std::vector<std::string> copied = copiedRuns(scene);
  scene.world.race = Race::accepts;
  (void)play(scene);
  return copied;
}

}  // namespace

const char* nameOf(Next next) {
  switch (next) {
    case Next::nothingNew: return "nothing new";
    case Next::offline: return "offline";
    case Next::anotherRun: return "another run";
    case Next::upload: return "--upload";
    case Next::queue: break;
  }
  return "another run, then the queue";
}

StopReport playEveryStop(const World& world, Next next, std::size_t stride) {
  StopReport report;
  const auto stops = stopsOf(world);
  for (std::size_t i = 0; i < stops.size(); i += stride) {
    const auto& [stop, call] = stops[i];
    playStop(world, next, stop, call, report);
  }
  return report;
}

StopReport playEveryStopOfTheCompanion(const World& world) {
  StopReport report;
  const std::optional<Stop> runEnds = stopBeforeSubmission(world);
  if (!runEnds) return report;
  std::vector<std::pair<Stop, machine::Call>> stops;
  {
    Scene scene(world);
    (void)leaveARunInTheArchive(scene, *runEnds);
    (void)queueByHand(scene, true);
    addStops(scene.machine.calls, stops);
  }
  for (const auto& [stop, call] : stops) {
    Scene scene(world);
    const std::vector<std::string> copied = leaveARunInTheArchive(scene, *runEnds);
    const std::string what = world.name + ", companion's stop " + textOf(stop, call);
    scene.machine.stopAt = stop;
    note(report, what, queueByHand(scene, true).broken);
    scene.machine.stopAt.reset();
    note(report, what + ", opened again", queueByHand(scene, false).broken);
    const Play next = play(scene);
    note(report, what + ", next start", violations(scene, next));
    note(report, what, undelivered(scene, copied));
    ++report.stops;
    count(scene, textOf(stop, call), report);
  }
  return report;
}

}  // namespace worlds
