#include "tests/run/faults.h"

#include <utility>

#include "tests/run/invariants.h"

namespace worlds {
namespace {

using machine::Call;
using machine::Failure;
using machine::Fault;

std::string textOf(const std::vector<Fault>& faults, const std::vector<Call>& calls) {
  std::string text;
  for (const Fault& fault : faults) {
    text += " call " + std::to_string(fault.call);
    if (fault.call < calls.size()) text += std::string(" ") + nameOf(calls[fault.call]);
    text += std::string(" ") + nameOf(fault.how);
  }
  return text;
}

/// Plays the world with these faults; the calls of the run.
std::vector<Call> playWith(const World& world, std::vector<Fault> faults, FaultReport& report) {
  Scene scene(world);
  scene.machine.faults = std::move(faults);
  const Play first = play(scene);
  ++report.runs;
  const std::vector<Call> calls = scene.machine.calls;
  std::vector<std::string> broken = violations(scene, first);
  for (std::string& line : broken) {
    if (report.broken.size() == kMostReported) break;
    report.broken.push_back(world.name + "," + textOf(scene.machine.faults, calls) + ": " +
                            std::move(line));
  }
  return calls;
}

}  // namespace

FaultReport playEveryFault(const World& world, std::size_t stride) {
  FaultReport report;
  const std::vector<Call> calls = playWith(world, {}, report);
  std::size_t number = 0;
  for (std::size_t call = 0; call < calls.size(); ++call) {
    for (const Failure how : machine::failuresOf(calls[call])) {
      if (number++ % stride == 0) (void)playWith(world, {{call, how}}, report);
    }
  }
  return report;
}

FaultReport playPairs(const World& world, std::size_t most) {
  FaultReport report;
  const std::vector<Call> calls = playWith(world, {}, report);
  std::vector<std::vector<Fault>> firsts;
  for (std::size_t call = 0; call < calls.size(); ++call) {
    for (const Failure how : machine::failuresOf(calls[call])) firsts.push_back({{call, how}});
  }
  // About as many pairs as half the square of the ways in which one call can fail.
  const std::size_t pairs = firsts.size() * firsts.size() / 2 + 1;
  const std::size_t stride = most == 0 || most >= pairs ? 1 : pairs / most;
  std::size_t number = 0;
  for (const std::vector<Fault>& first : firsts) {
    // What follows the first fault is another run; where few are wanted, this one will do.
    FaultReport aside;
    const std::vector<Call> after = stride > 1 ? calls : playWith(world, first, aside);
    for (std::size_t call = first[0].call + 1; call < after.size(); ++call) {
      for (const Failure how : machine::failuresOf(after[call])) {
        if (number++ % stride != 0) continue;
        (void)playWith(world, {first[0], {call, how}}, report);
      }
    }
  }
  return report;
}

}  // namespace worlds
