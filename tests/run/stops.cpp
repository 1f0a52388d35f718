#include "tests/run/stops.h"

#include <utility>

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

void count(const Scene& scene, StopReport& report) {
  for (const auto& [seed, receipt] : scene.finished) {
    const int taken = scene.accepted(seed);
    if (taken > 0) {
      ++(taken == 1 ? report.once : taken == 2 ? report.twice : report.more);
    } else if (scene.isInReceipt(seed) || scene.isQueued(seed)) {
      ++report.kept;
    } else if (scene.isArchived(seed)) {
      ++report.copied;
    } else {
      ++report.lost;
    }
  }
}

void playStop(const World& world, Next next, const Stop& stop, StopReport& report) {
  Scene scene(world);
  if (next == Next::anotherRun) scene.world.plays.push_back(Plays::finished);
  scene.machine.stopAt = stop;
  const Play first = play(scene);
  const std::string what = world.name + ", stop " + (stop.inMiddle ? "in" : "before") +
                           " call " + std::to_string(stop.call) + ", " + nameOf(next);
  note(report, what, violations(scene, first));
  scene.machine.stopAt.reset();
  scene.world.race = next == Next::offline ? Race::unreachable : Race::accepts;
  const Play second = play(scene, next == Next::upload ? "--upload" : world.argument);
  note(report, what + ", next start", violations(scene, second));
  ++report.stops;
  count(scene, report);
}

std::vector<Stop> stopsOf(const World& world) {
  Scene scene(world);
  (void)play(scene);
  std::vector<Stop> stops;
  for (std::size_t call = 0; call < scene.machine.calls.size(); ++call) {
    stops.push_back({call, false});
    if (machine::hasMiddle(scene.machine.calls[call])) stops.push_back({call, true});
  }
  return stops;
}

}  // namespace

const char* nameOf(Next next) {
  switch (next) {
    case Next::nothingNew: return "nothing new";
    case Next::offline: return "offline";
    case Next::anotherRun: return "another run";
    case Next::upload: break;
  }
  return "--upload";
}

StopReport playEveryStop(const World& world, Next next, std::size_t stride) {
  StopReport report;
  const std::vector<Stop> stops = stopsOf(world);
  for (std::size_t i = 0; i < stops.size(); i += stride) playStop(world, next, stops[i], report);
  return report;
}

}  // namespace worlds
