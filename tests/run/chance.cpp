#include "tests/run/chance.h"

#include <algorithm>

#include "tests/run/invariants.h"

namespace worlds {
namespace {

using machine::Failure;
using machine::Fault;

constexpr unsigned kUsualCalls = 260;
constexpr unsigned kFailures = 10;

template <class Kind>
Kind any(Choices& choices, Kind last) {
  return static_cast<Kind>(choices.below(static_cast<unsigned>(last) + 1));
}

std::vector<Fault> anyFaults(Choices& choices) {
  std::vector<Fault> faults;
  if (choices.once(3)) return faults;
  for (unsigned number = choices.below(4); number > 0; --number) {
    faults.push_back({choices.below(kUsualCalls), static_cast<Failure>(choices.below(kFailures))});
  }
  std::sort(faults.begin(), faults.end(),
            [](const Fault& one, const Fault& other) { return one.call < other.call; });
  const auto same = [](const Fault& one, const Fault& other) { return one.call == other.call; };
  faults.erase(std::unique(faults.begin(), faults.end(), same), faults.end());
  return faults;
}

}  // namespace

unsigned Choices::below(unsigned limit) {
  if (random_) {
    // SplitMix64.
    state_ += 0x9E3779B97F4A7C15U;
    std::uint64_t value = state_;
    value = (value ^ (value >> 30)) * 0xBF58476D1CE4E5B9U;
    value = (value ^ (value >> 27)) * 0x94D049BB133111EBU;
    return static_cast<unsigned>((value ^ (value >> 31)) % limit);
  }
  unsigned value = 0;
  for (unsigned range = 1; range < limit && !bytes_.empty(); range *= 256) {
    value = value * 256 + static_cast<unsigned char>(bytes_.front());
    bytes_.remove_prefix(1);
  }
  return value % limit;
}

World anyWorld(Choices& choices) {
  World world;
  world.name = "any";
  if (choices.once(4)) {
    world.page = machine::CodePage::chinese;
    world.root = "C:\\竞速 启动器";
    world.player = "跑者";
  }
  if (choices.once(12)) world.server = choices.once(2) ? "" : "http://race.example///";
  if (choices.once(12)) world.player = "";
  if (choices.once(12)) world.difficulty = "";
  if (choices.once(8)) world.site = "https://race.example/site";
  world.hasIni = !choices.once(60);
  world.namesData = !choices.once(60);
  world.dryrun = choices.once(40);
  world.timerFlag = choices.once(2);
  world.namesGame = choices.once(3);
  world.hasGame = !choices.once(40);
  world.zoneMinutes = static_cast<int>(choices.below(27)) * 60 - 720;
  if (choices.once(2)) world.race = any(choices, Race::emptyReplies);
  world.sendsToken = !choices.once(3);
  world.plays = {choices.once(2) ? any(choices, Plays::modResult) : Plays::finished};
  if (choices.once(3)) world.plays.push_back(any(choices, Plays::modResult));
  if (choices.once(3)) world.plays.push_back(any(choices, Plays::modResult));
  if (choices.once(2)) world.starts = any(choices, Starts::locked);
  if (choices.once(2)) world.timer = any(choices, Timer::missing);
  if (choices.once(3)) world.card = any(choices, Card::broken);
  if (choices.once(2)) world.mod = any(choices, Mod::incomplete);
  if (choices.once(3)) world.steam = any(choices, Steam::noAccount);
  world.hasDataFolder = !choices.once(8);
  world.dataIsReadOnly = choices.once(20);
  world.diskIsFull = choices.once(20);
  world.queued = choices.once(3);
  world.oldReceipt = choices.once(4);
  world.savedToken = choices.once(3);
  if (choices.once(6)) {
    constexpr const char* kModes[] = {"--upload", "--profile", "--detect", "--Upload"};
    world.argument = kModes[choices.below(4)];
  }
  return world;
}

std::vector<std::string> playAny(const World& world, Choices& choices, std::size_t* calls) {
  std::vector<std::string> broken;
  Scene scene(world);
  const unsigned starts = 1 + choices.below(3);
  for (unsigned start = 0; start < starts; ++start) {
    scene.machine.faults = anyFaults(choices);
    scene.machine.stopAt.reset();
    if (choices.once(4)) {
      scene.machine.stopAt = machine::Stop{choices.below(kUsualCalls), choices.once(2)};
    }
    const Play played = play(scene);
    if (calls != nullptr) *calls += scene.machine.calls.size();
    for (const std::string& line : violations(scene, played)) {
      broken.push_back("start " + std::to_string(start + 1) + ": " + line);
    }
    scene.world.race = choices.once(2) ? any(choices, Race::emptyReplies) : Race::accepts;
    scene.world.argument = choices.once(4) ? "--upload" : "";
  }
  return broken;
}

std::vector<std::string> playSeed(std::uint64_t seed) {
  Choices choices(seed);
  const World world = anyWorld(choices);
  return playAny(world, choices);
}

}  // namespace worlds
