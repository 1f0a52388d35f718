// What scripts/soak runs: whole runs in any number of random worlds, and in the named ones
// with every fault and every stop.

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <string_view>

#include "tests/run/chance.h"
#include "tests/run/faults.h"
#include "tests/run/stops.h"
#include "tests/run/world.h"

namespace {

constexpr std::uint64_t kMostSeedsShown = 20;

int usage() {
  std::fprintf(stderr,
               "usage: soak worlds FIRST-SEED COUNT | soak faults | soak pairs MOST | soak stops\n");
  return 2;
}

std::uint64_t numberOf(const char* text) { return std::strtoull(text, nullptr, 10); }

int soakWorlds(std::uint64_t first, std::uint64_t count) {
  std::uint64_t bad = 0;
  const auto begin = std::chrono::steady_clock::now();
  for (std::uint64_t seed = first; seed < first + count; ++seed) {
    const std::vector<std::string> broken = worlds::playSeed(seed);
    if (broken.empty() || ++bad > kMostSeedsShown) continue;
    for (const std::string& line : broken) {
      std::printf("seed %llu: %s\n", static_cast<unsigned long long>(seed), line.c_str());
    }
  }
  const std::chrono::duration<double> took = std::chrono::steady_clock::now() - begin;
  std::printf("%llu worlds, %llu broken, %.1f s\n", static_cast<unsigned long long>(count),
              static_cast<unsigned long long>(bad), took.count());
  return bad == 0 ? 0 : 1;
}

/// One row a world: how many runs, and what they broke.
int soakFaults(bool pairs, std::size_t most) {
  std::size_t runs = 0;
  std::size_t bad = 0;
  for (const worlds::World& world : worlds::namedWorlds()) {
    const worlds::FaultReport report =
        pairs ? worlds::playPairs(world, most) : worlds::playEveryFault(world);
    std::printf("| %s | %zu | %zu |\n", world.name.c_str(), report.runs, report.broken.size());
    for (const std::string& line : report.broken) std::printf("  %s\n", line.c_str());
    (void)std::fflush(stdout);
    runs += report.runs;
    bad += report.broken.size();
  }
  std::printf("%zu runs, %zu broken\n", runs, bad);
  return bad == 0 ? 0 : 1;
}

void printStops(const worlds::World& world, const char* next, const worlds::StopReport& report) {
  std::printf("| %s | %s | %zu | %zu | %zu | %zu | %zu | %zu | %zu |\n", world.name.c_str(), next,
              report.stops, report.once, report.twice, report.more, report.kept, report.copied,
              report.lost);
  for (const std::string& line : report.broken) std::printf("  %s\n", line.c_str());
  (void)std::fflush(stdout);
}

int soakStops() {
  std::size_t stops = 0;
  std::size_t bad = 0;
  for (const worlds::World& world : worlds::namedWorlds()) {
    for (const worlds::Next next : worlds::kNexts) {
      const worlds::StopReport report = worlds::playEveryStop(world, next);
      printStops(world, nameOf(next), report);
      stops += report.stops;
      bad += report.broken.size();
    }
    const worlds::StopReport report = worlds::playEveryStopOfTheCompanion(world);
    printStops(world, "companion ended", report);
    stops += report.stops;
    bad += report.broken.size();
  }
  std::printf("%zu stops, %zu broken\n", stops, bad);
  return bad == 0 ? 0 : 1;
}

}  // namespace

int main(int count, char** arguments) {
  const std::string_view what = count > 1 ? arguments[1] : "";
  if (what == "worlds" && count == 4) {
    return soakWorlds(numberOf(arguments[2]), numberOf(arguments[3]));
  }
  if (what == "faults" && count == 2) return soakFaults(false, 0);
  if (what == "pairs" && count == 3) return soakFaults(true, numberOf(arguments[2]));
  if (what == "stops" && count == 2) return soakStops();
  return usage();
}
