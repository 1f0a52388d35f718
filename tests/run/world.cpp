#include "tests/run/world.h"

#include <algorithm>
#include <cstdlib>
#include <utility>

#include "rehearsal/stage/samples.h"

namespace worlds {
namespace {

using machine::Failure;
using machine::Machine;
using machine::Reply;
using machine::Request;
using machine::Start;

constexpr char kSteamFolder[] = "C:\\Steam";
constexpr char kLibrary[] = "C:\\Library";
constexpr char kGameFolder[] =
    "C:\\Library\\steamapps\\common\\EscapeTheBackrooms\\EscapeTheBackrooms\\Binaries\\Win64";
constexpr char kHost[] = "race.example:80";
constexpr std::int64_t kGameAfterSteamMs = 4000;
constexpr std::int64_t kLateGameMs = 60000;
constexpr std::int64_t kLastMomentMs = 145000;
constexpr std::int64_t kGameMs = 900000;
constexpr std::int64_t kTimerLoadsMs = 1200;
constexpr std::int64_t kSilenceMs = 45000;
constexpr std::int64_t kQuickCardMs = 2000;
constexpr std::int64_t kSlowCardMs = 60000;
const char* const kModFiles[] = {"\\dwmapi.dll", "\\ue4ss\\UE4SS.dll",
                                 "\\ue4ss\\Mods\\KOVWeekly\\Scripts\\main.lua",
                                 "\\ue4ss\\Mods\\KOVWeekly\\enabled.txt"};

stage::Receipt finishedRun(std::string_view seed) {
  stage::Receipt run = stage::finishedRun();
  run.seed = seed;
  return run;
}

std::string resultOf(Plays plays, const std::string& seed) {
  stage::Receipt run = finishedRun(seed);
  switch (plays) {
    case Plays::unfinished:
      run = stage::unfinishedRun();
      run.seed = seed;
      break;
    case Plays::garbage: return "\xEF\xBB\xBF{\"seed\":" + seed;
    case Plays::runningStatus:
      run.status = "running";
      break;
    case Plays::finished:
    case Plays::modResult:
    case Plays::nothing: break;
  }
  return run.text();
}

/// The number after "seed": in a body; empty when there is none.
std::string seedIn(const std::string& body) {
  constexpr std::string_view kKey = "\"seed\":";
  const std::size_t key = body.find(kKey);
  if (key == std::string::npos) return {};
  const std::size_t first = key + kKey.size();
  return body.substr(first, body.find_first_not_of("0123456789", first) - first);
}

/// True when every brace and quote of a body is closed: a server takes no half a run.
bool isWhole(const std::string& body) {
  int open = 0;
  bool quoted = false;
  for (const char byte : body) {
    if (byte == '"') quoted = !quoted;
    if (!quoted && (byte == '{' || byte == '[')) ++open;
    if (!quoted && (byte == '}' || byte == ']')) --open;
  }
  return open == 0 && !quoted && body.ends_with('}');
}

bool saysAccepted(const std::string& reply) {
  return reply.find("\"accepted\":true") != std::string::npos ||
         reply.find("\"accepted\": true") != std::string::npos;
}

}  // namespace

std::string receiptOf(std::string_view seed) { return finishedRun(seed).text(); }

std::vector<std::string> linesOf(std::string_view text) {
  std::vector<std::string> lines;
  for (std::size_t at = 0; at < text.size();) {
    const std::size_t end = std::min(text.find("\r\n", at), text.size());
    lines.emplace_back(text.substr(at, end - at));
    at = end + 2;
  }
  return lines;
}

Scene::Scene(const World& put) : world(put), machine(put.page) {
  machine.zoneMinutes = world.zoneMinutes;
  machine.program = machine::fromUtf8(app() + "\\launcher.exe");
  machine.localAppData = u"C:\\Users\\runner\\AppData\\Local";
  machine.files.put(app() + "\\launcher.exe", "MZ");
  putIni();
  putSteam();
  putGame();
  putTimer();
  putMod();
  putCard();
  putRace();
  if (world.queued) {
    finished[kQueued] = receiptOf(kQueued);
    machine.files.put(data() + "\\pending\\p_20261114_201502.json", finished[kQueued]);
  }
  if (world.oldReceipt) {
    finished[kOld] = receiptOf(kOld);
    machine.files.put(receipt(), finished[kOld]);
    machine.files.put(data() + "\\receipts\\receipt_20261114_201501.json", finished[kOld]);
  }
  if (world.savedToken) machine.files.put(data() + "\\profile_token.txt", "kq7-4821");
  if (world.dataIsReadOnly) {
    machine::File& folder = machine.files.makeFolder(data());
    folder.denied = true;
  }
  machine.files.put(world.root + "\\notes.txt", "the player's own");
  if (world.hasDataFolder) {
    machine.files.put(data() + "\\receipts\\receipt_20261107_200000.json", receiptOf("1000"));
  }
  machine.files.put(std::string(kGameFolder) + "\\save.dat", "the game's own");
  machine.files.setFull('C', world.diskIsFull);
}

std::string Scene::ansi(std::string_view text) const {
  return machine::toAnsi(world.page, machine::fromUtf8(text));
}

void Scene::putIni() {
  if (!world.hasIni) return;
  std::string ini = world.iniHead + "# settings of the race\r\n";
  const auto set = [&](const char* key, const std::string& value) {
    // A head may hold any key: what follows it takes every one back.
    if (!value.empty() || !world.iniHead.empty()) ini += key + ("=" + ansi(value)) + "\r\n";
  };
  if (world.namesData) {
    set("receipt", receipt());
    set("data", "%APPDIR%..\\data");
  }
  set("server", world.server);
  set("player", world.player);
  set("difficulty", world.difficulty);
  set("site", world.site);
  if (world.dryrun) set("dryrun", "1");
  if (world.timerFlag) set("timer", "1");
  set("game", world.namesGame ? gameExe() : "");
  set("install_from", world.mod == Mod::noPackage ? "" : world.root + "\\pkg");
  const bool hasTimer = world.timer != Timer::none;
  set("livesplit", hasTimer ? world.root + "\\ls\\LiveSplit.exe" : "");
  set("livesplit_lss", hasTimer ? world.root + "\\ls\\race.lss" : "");
  machine.files.put(app() + "\\launcher.ini", ini + world.iniTail);
}

std::string Scene::gameExe() const {
  return std::string(kGameFolder) + "\\Backrooms-Win64-Shipping.exe";
}

std::string Scene::gameFolder() const { return kGameFolder; }

void Scene::putSteam() {
  if (world.steam == Steam::none) return;
  machine.steamPath = u"c:/steam";
  const std::string exe = std::string(kSteamFolder) + "\\steam.exe";
  machine.files.put(exe, "MZ");
  machine.files.put(std::string(kSteamFolder) + "\\steamapps\\libraryfolders.vdf",
                    world.libraries.value_or(stage::libraryFoldersVdf({kSteamFolder, kLibrary})));
  if (world.steam == Steam::registry) {
    machine.files.put(std::string(kSteamFolder) + "\\config\\loginusers.vdf",
                      world.users.value_or(stage::loginUsersVdf({stage::SteamAccount{}})));
  }
  machine.setProgram(exe, [this](Machine& on, const Start& start) {
    on.endAfter(start.id, 500);
    const auto startGame = [this](Machine& later) {
      if (later.find(u"Backrooms-Win64-Shipping.exe") == 0) (void)later.startByHand(gameExe());
    };
    if (world.starts == Starts::bySteam || world.starts == Starts::locked) {
      on.after(kGameAfterSteamMs, startGame);
    } else if (world.starts == Starts::late) {
      on.after(kLateGameMs, startGame);
    } else if (world.starts == Starts::atLast) {
      on.after(kLastMomentMs, startGame);
    }
  });
}

void Scene::putGame() {
  if (!world.hasGame) return;
  machine.files.put(gameExe(), "MZ");
  machine.setProgram(gameExe(), [this](Machine& on, const Start& start) {
    const bool restarts = world.starts == Starts::atLast && on.now() < startedAt_ + kLastMomentMs;
    if (world.starts == Starts::never || restarts) {
      on.endAfter(start.id, 0);
      return;
    }
    if (world.starts == Starts::locked) on.lock(start.id);
    playGame(start.id);
  });
  if (world.starts == Starts::running) (void)machine.startByHand(gameExe());
}

void Scene::playGame(unsigned long process) {
  machine.after(kGameMs, [this, process](Machine& on) {
    const std::size_t game = games_++;
    const Plays plays = game < world.plays.size() ? world.plays[game] : Plays::nothing;
    const std::string seed = game == 0 ? kRun : kOther;
    const bool replaced = game == 0 && world.result && plays != Plays::nothing;
    writeResult(plays, seed, replaced ? *world.result : resultOf(plays, seed));
    on.endProcess(process);
  });
}

void Scene::writeResult(Plays plays, const std::string& seed, const std::string& result) {
  if (plays == Plays::nothing) return;
  if (plays == Plays::modResult) {
    write(data() + "\\kovw_result.json", result, Loss::modOverwritten);
    write(receipt(), resultOf(Plays::unfinished, seed), Loss::overwritten);
  } else {
    write(receipt(), result, Loss::overwritten);
  }
}

/// What the game writes replaces what lay there; a finished run of which there was nothing
/// else is lost by that.
void Scene::write(const std::string& path, const std::string& bytes, Loss loss) {
  const std::string before = machine.files.bytesOf(path).value_or("");
  // The game is another program: what it may not write, it does not.
  if (machine.files.write(machine::fromUtf8(path), bytes) != machine::FileError::none) return;
  results.push_back(machine.files.bytesOf(path).value_or(""));  // less on a full disk
  for (const auto& [seed, whole] : finished) {
    const bool kept = accepted(seed) > 0 || isInReceipt(seed) || isQueued(seed) ||
                      isArchived(seed);
    if (before == whole && !kept) losses[seed] = loss;
  }
  const std::string seed = seedIn(bytes);
  if (machine.files.bytesOf(path) == receiptOf(seed) ||
      machine.files.bytesOf(path) == resultOf(Plays::runningStatus, seed)) {
    finished[seed] = bytes;
  }
}

void Scene::putTimer() {
  const std::string folder = world.root + "\\ls";
  const std::string exe = folder + "\\LiveSplit.exe";
  if (world.timer == Timer::none) return;
  machine.files.put(folder + "\\race.lss", stage::splitsFile());
  machine.files.put(folder + "\\settings.cfg", stage::liveSplitSettings({"C:\\older.lsl"}));
  if (world.timer == Timer::missing) return;
  machine.files.put(exe, "MZ");
  machine.timerAnswers = [this](const std::string& command) -> std::optional<std::string> {
    if (world.timer == Timer::silent) return std::nullopt;
    const bool ended = games_ > 0 && world.timer != Timer::running;
    if (command == "getcurrenttimerphase") {
      return world.timerPhase.value_or(ended ? "Ended\n" : "NotRunning\n");
    }
    if (world.timerReply) return *world.timerReply;
    if (world.timer == Timer::noTime) return "-\n";
    if (ended) return "00:12:34.6000000\n";
    return command == "getcurrenttime" ? "00:00:00\n" : "-\n";
  };
  machine.setProgram(exe, [this](Machine& on, const Start&) {
    if (world.timer == Timer::closed) return;
    on.after(kTimerLoadsMs, [](Machine& later) { later.timerListens = true; });
    if (world.timer != Timer::silent) return;
    on.after(kTimerLoadsMs + kSilenceMs, [](Machine& later) {
      later.timerListens = false;
      later.endProcess(later.find(u"LiveSplit.exe"));
    });
  });
  if (world.timer == Timer::running) {
    (void)machine.startByHand(exe);
    machine.advance(kTimerLoadsMs);
  }
}

void Scene::putMod() {
  if (world.mod == Mod::noPackage) return;
  for (const char* file : kModFiles) {
    if (world.mod == Mod::incomplete && file == kModFiles[0]) continue;
    machine.files.put(world.root + "\\pkg" + file, std::string("mod file ") + file);
    if (world.mod == Mod::same) {
      machine.files.put(std::string(kGameFolder) + file, std::string("mod file ") + file);
    }
  }
}

void Scene::putCard() {
  if (world.card == Card::none) return;
  const std::string exe = app() + "\\kov_result.exe";
  machine.files.put(exe, "MZ").denied = world.card == Card::broken;
  machine.setProgram(exe, [this](Machine& on, const Start& start) {
    on.endAfter(start.id, world.card == Card::quick ? kQuickCardMs : kSlowCardMs);
  });
}

void Scene::putRace() {
  machine.servers[kHost] = [this](Machine&, const Request& request) { return answer(request); };
}

Reply Scene::answer(const Request& request) {
  if (world.race == Race::unreachable) {
    machine.requests.pop_back();
    return {Failure::refused};
  }
  if (world.race == Race::silent) return {Failure::timedOut};
  if (world.race == Race::errorPage) return {Failure::none, "<html>502 Bad Gateway</html>"};
  Failure how = Failure::none;
  if (world.race == Race::breaksOff) how = Failure::reset;
  if (world.race == Race::cutsReplies) how = Failure::half;
  if (world.race == Race::emptyReplies) how = Failure::empty;
  if (request.method == "GET") {
    if (request.path == "/week/current") {
      return {how, "{\"week\":\"2026-W47\",\"seed\":20261147,\"open\":true}"};
    }
    return {how, "board " + request.path + "\n"};
  }
  if (request.path != "/submit") return {how, "{}"};
  if (world.reply) {
    if (saysAccepted(*world.reply)) accept(seedIn(request.body));
    return {how, *world.reply};
  }
  if (world.race == Race::refuses) {
    return {how, "{\"accepted\":false,\"error\":\"week window closed\"}"};
  }
  if (!isWhole(request.body)) return {how, "{\"accepted\":false,\"error\":\"no JSON\"}"};
  accept(seedIn(request.body));
  return {how, std::string("{\"accepted\":true,\"rank\":3,\"points\":90") +
                   (world.sendsToken ? ",\"token\":\"kq7-4821\"}" : "}")};
}

/// The server takes a run. When it is the mod's result, the receipt is deleted with it,
/// although it may be another run's, of which there is nothing else.
void Scene::accept(const std::string& seed) {
  ++accepted_[seed];
  if (seedIn(dataFile("kovw_result.json").value_or("")) != seed) return;
  const std::string hidden = seedIn(machine.files.bytesOf(receipt()).value_or(""));
  if (hidden == seed || !finished.contains(hidden)) return;
  if (machine.files.bytesOf(receipt()) != finished[hidden]) return;
  if (accepted(hidden) == 0 && !isQueued(hidden) && !isArchived(hidden)) {
    losses.emplace(hidden, Loss::hidden);
  }
}

int Scene::run(const std::string& argument) {
  // What was not deleted after all may not be lost in this run.
  std::erase_if(losses, [this](const auto& loss) {
    const auto& [seed, how] = loss;
    return how == Loss::hidden && isInReceipt(seed);
  });
  startedAt_ = machine.now();
  return machine.run(machine::toWide(machine::fromUtf8(argument)));
}

std::vector<std::string> Scene::log() const {
  return linesOf(machine.files.bytesOf(app() + "\\launcher.log").value_or(""));
}

std::optional<std::string> Scene::dataFile(std::string_view name) const {
  return machine.files.bytesOf(data() + "\\" + std::string(name));
}

int Scene::accepted(const std::string& seed) const {
  const auto hit = accepted_.find(seed);
  return hit == accepted_.end() ? 0 : hit->second;
}

bool Scene::isInReceipt(const std::string& seed) const {
  const std::string& whole = finished.at(seed);
  return machine.files.bytesOf(receipt()) == whole || dataFile("kovw_result.json") == whole;
}

bool Scene::holds(std::string_view folder, const std::string& seed) const {
  return machine.files.hasBelow(data() + "\\" + std::string(folder), finished.at(seed));
}

bool Scene::isQueued(const std::string& seed) const { return holds("pending", seed); }

bool Scene::isArchived(const std::string& seed) const { return holds("receipts", seed); }

std::vector<World> namedWorlds() {
  std::vector<World> all;
  const auto add = [&all](const char* name, auto change) {
    World world;
    world.name = name;
    change(world);
    all.push_back(std::move(world));
  };
  add("happy", [](World&) {});
  add("offline", [](World& w) { w.race = Race::unreachable; });
  add("refused", [](World& w) { w.race = Race::refuses; });
  add("queued", [](World& w) { w.queued = true; });
  add("mod result", [](World& w) { w.plays = {Plays::modResult}; });
  add("no card", [](World& w) { w.card = Card::none; w.savedToken = true; });
  add("no steam", [](World& w) {
    w.steam = Steam::none;
    w.namesGame = true;
    w.starts = Starts::directly;
  });
  add("game never starts", [](World& w) { w.starts = Starts::never; w.oldReceipt = true; });
  add("game adopted", [](World& w) { w.starts = Starts::running; w.timer = Timer::running; });
  add("timer silent", [](World& w) { w.timer = Timer::silent; });
  add("timer closed", [](World& w) { w.timer = Timer::closed; w.card = Card::slow; });
  add("install incomplete", [](World& w) { w.mod = Mod::incomplete; });
  add("no server", [](World& w) { w.server = ""; w.plays = {Plays::unfinished}; });
  add("dry run", [](World& w) { w.dryrun = true; });
  add("no settings", [](World& w) { w.hasIni = false; });
  add("code page 936", [](World& w) {
    w.page = machine::CodePage::chinese;
    w.root = "C:\\竞速 启动器";
    w.player = "跑者";
    w.steam = Steam::noAccount;
    w.race = Race::breaksOff;
    w.queued = true;
  });
  add("upload", [](World& w) {
    w.argument = "--upload";
    w.oldReceipt = true;
    w.site = "https://race.example/site";
  });
  add("upload without receipt", [](World& w) { w.argument = "--upload"; });
  add("profile", [](World& w) {
    w.argument = "--profile";
    w.savedToken = true;
  });
  add("detect", [](World& w) { w.argument = "--detect"; });
  return all;
}

std::string testName(const World& world) {
  std::string name;
  for (const char byte : world.name) {
    if (byte != ' ') name += byte;
  }
  return name;
}

World namedWorld(std::string_view name) {
  for (World& world : namedWorlds()) {
    if (world.name == name) return world;
  }
  std::abort();
}

}  // namespace worlds
