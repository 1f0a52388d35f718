// A run on machines on which something is odd, each call of it compared, in the order of the
// calls; left out is what its first and last calls share with a run with nothing odd. What is
// compared with stands in tests/data/calls/, one file for each machine; with KOV_WRITE_RUNS set
// the test writes these files instead, to be read before they are committed.

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <fstream>
#include <functional>
#include <iterator>
#include <map>
#include <optional>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

#include "rehearsal/stage/samples.h"
#include "tests/run/world.h"

namespace worlds {
namespace {

/// What is done to a world or a scene. Most are plain functions and kept as such: hundreds of
/// lambdas, each a std::function of its own, took 20 s to compile.
template <class Subject>
class Change {
 public:
  template <class Function>
  Change(Function does) {  // NOLINT(google-explicit-constructor): tables of lambdas
    if constexpr (std::is_convertible_v<Function, void (*)(Subject&)>) {
      does_ = static_cast<void (*)(Subject&)>(does);
    } else {
      does_ = std::move(does);
    }
  }
  void operator()(Subject& subject) const { does_(subject); }

 private:
  std::function<void(Subject&)> does_;
};

struct OddMachine {
  const char* name;
  Change<World> world;
  Change<Scene> change = [](Scene&) {};
};

void PrintTo(const OddMachine& odd, std::ostream* out) { *out << odd.name; }

std::string replaced(std::string text, const std::string& from, const std::string& to) {
  const std::size_t hit = text.find(from);
  return hit == std::string::npos ? text : text.replace(hit, from.size(), to);
}

/// Changes a file that is there.
void change(Scene& scene, const std::string& path, const std::string& from,
            const std::string& to) {
  const std::string bytes = scene.machine.files.bytesOf(path).value_or("");
  const std::string changed = replaced(bytes, from, to);
  ASSERT_NE(changed, bytes) << path;
  scene.machine.files.put(path, changed);
}

void changeIni(Scene& scene, const std::string& from, const std::string& to) {
  change(scene, scene.app() + "\\launcher.ini", from, to);
}

/// The timer answers so to a command once the game has been played, "Ended" to its phase.
void answerAfterTheRun(Scene& scene, const std::string& command, const std::string& answer) {
  scene.machine.timerAnswers = [command, answer](const std::string& asked) {
    if (asked == "getcurrenttimerphase") return std::string("Ended\n");
    return asked == command ? answer + "\n" : std::string("-\n");
  };
}

/// What the server does otherwise than the world's own; nothing: it does as ever.
using Otherwise =
    std::function<std::optional<machine::Reply>(machine::Machine&, const machine::Request&)>;

void answerOtherwise(Scene& scene, Otherwise otherwise) {
  machine::Server& server = scene.machine.servers.at("race.example:80");
  server = [usual = server, otherwise](machine::Machine& on, const machine::Request& request) {
    const std::optional<machine::Reply> reply = otherwise(on, request);
    return reply ? *reply : usual(on, request);
  };
}

/// Something happens while the game runs.
void duringTheGame(Scene& scene, machine::Event event) {
  scene.machine.after(600000, std::move(event));
}

/// The timer answers each command with these lines, one after the other, the last for ever.
void answerInTurn(Scene& scene, std::map<std::string, std::vector<std::string>> answers) {
  scene.machine.timerListens = true;
  scene.machine.timerAnswers =
      [answers, asked = std::map<std::string, std::size_t>()](const std::string& command) mutable {
        const std::vector<std::string>& lines = answers.at(command);
        return lines[std::min(asked[command]++, lines.size() - 1)];
      };
}

/// The timer after a run that ended at this time.
void answerEndedAt(Scene& scene, const std::string& time) {
  answerInTurn(scene, {{"getcurrenttimerphase", {"Ended\n"}}, {"getfinaltime", {time + "\n"}}});
}

/// A finished run whose last split is this one.
std::string runEndingWith(const stage::Split& split) {
  stage::Receipt run = stage::finishedRun();
  run.seed = kRun;
  run.splits.back() = split;
  return run.text();
}

/// Runs of --upload without LiveSplit, on what the test puts into the receipt.
void uploads(World& world) {
  world.argument = "--upload";
  world.timer = Timer::none;
}

void dryRun(World& world) { world.dryrun = true; }

const char kUsualSteam[] = "C:\\Program Files (x86)\\Steam";
const char kFirstTime[] = "C:\\kov\\data\\profile_opened.flag";

/// --upload of a run with this last split, and a timer that has this time.
void uploadWithLastSplit(Scene& scene, const std::string& split, const std::string& time) {
  scene.machine.files.put(
      scene.receipt(), "{\"i\":0,\"map\":\"ENDING:true\",\"t\":" + split + ",\"total\":5.0}");
  scene.machine.timerListens = true;
  answerAfterTheRun(scene, "getfinaltime", time);
}

const char kUsualTimer[] = "C:\\Program Files\\LiveSplit\\LiveSplit.exe";
const char kOtherUsualTimer[] = "C:\\Program Files (x86)\\LiveSplit\\LiveSplit.exe";

std::vector<OddMachine> oddMachines() {
  return {
      {"nothing odd", [](World&) {}},
      {"no game", [](World& w) { w.hasGame = false; }},
      {"dry run without game", [](World& w) { w.hasGame = false, w.dryrun = true; }},
      {"dry run with everything found", [](World& w) { w.dryrun = true; }},
      {"settings without data", [](World& w) { w.namesData = false; }},
      {"settings without data alone", [](World&) {},
       [](Scene& s) { changeIni(s, "data=", "date="); }},
      {"steam named in the settings", [](World&) {},
       [](Scene& s) { changeIni(s, "player=", "steam=C:\\Steam\\steam.exe\r\nplayer="); }},
      {"no steam and no game", [](World& w) { w.steam = Steam::none; w.hasGame = false; }},
      {"settings without receipt", [](World&) {},
       [](Scene& s) { changeIni(s, "receipt=", "receipts="); }},
      {"no data folder", [](World& w) { w.hasDataFolder = false; }},
      {"read only data folder", [](World& w) { w.dataIsReadOnly = true; }},
      {"full disk", [](World& w) { w.diskIsFull = true; }},
      {"timer flag", [](World& w) { w.timerFlag = true; }},
      {"overlay setting that is not one", [](World&) {},
       [](Scene& s) { changeIni(s, "difficulty=normal", "difficulty=\r\ntimer=2"); }},
      {"no timer setting", [](World& w) { w.timer = Timer::none; }},
      {"timer without splits setting", [](World&) {},
       [](Scene& s) { changeIni(s, "livesplit_lss=", "lss="); }},
      {"splits setting without timer", [](World& w) { w.timer = Timer::none; },
       [](Scene& s) { changeIni(s, "player=", "livesplit_lss=C:\\kov\\ls\\race.lss\r\nplayer="); }},
      {"timer in the first usual place", [](World& w) { w.timer = Timer::missing; },
       [](Scene& s) {
         s.machine.files.put(kUsualTimer, "MZ");
         s.machine.files.put(kOtherUsualTimer, "MZ");
       }},
      {"timer in the other usual place", [](World& w) { w.timer = Timer::missing; },
       [](Scene& s) { s.machine.files.put(kOtherUsualTimer, "MZ"); }},
      {"timer that runs from a usual place", [](World& w) { w.timer = Timer::missing; },
       [](Scene& s) {
         s.machine.files.put(kOtherUsualTimer, "MZ");
         s.machine.setProgram(kOtherUsualTimer, [](machine::Machine&, const machine::Start&) {});
         (void)s.machine.startByHand(kOtherUsualTimer);
       }},
      {"timer that ends at once", [](World&) {},
       [](Scene& s) {
         s.machine.setProgram(s.world.root + "\\ls\\LiveSplit.exe",
                              [](machine::Machine& on, const machine::Start& start) {
                                on.endProcess(start.id);
                              });
       }},
      {"archive that is a file", [](World& w) { w.hasDataFolder = false; },
       [](Scene& s) { s.machine.files.put(s.data() + "\\receipts", "a file"); }},
      {"queue that is a file", [](World& w) { w.race = Race::unreachable; },
       [](Scene& s) { s.machine.files.put(s.data() + "\\pending", "a file"); }},
      {"mod result that cannot be read", [](World& w) { w.race = Race::unreachable; },
       [](Scene& s) { s.machine.files.put(s.data() + "\\kovw_result.json", "{}").denied = true; }},
      {"server that is a slash", [](World& w) { w.server = "/"; w.plays = {Plays::unfinished}; }},
      {"timer nowhere", [](World& w) { w.timer = Timer::missing; }},
      {"timer that may not start", [](World&) {},
       [](Scene& s) { s.machine.files.put(s.world.root + "\\ls\\LiveSplit.exe", "MZ").denied = true; }},
      {"timer with its own layout already ours", [](World&) {},
       [](Scene& s) {
         change(s, s.world.root + "\\ls\\settings.cfg", "C:\\older.lsl",
                s.world.root + "\\ls\\halvorn.lsl");
       }},
      {"timer running before", [](World& w) { w.timer = Timer::running; }},
      {"timer without time", [](World& w) { w.timer = Timer::noTime; }},
      {"timer with a last split alone", [](World&) {},
       [](Scene& s) { answerAfterTheRun(s, "getlastsplittime", "00:12:35.1000000"); }},
      {"timer with a current time alone", [](World&) {},
       [](Scene& s) { answerAfterTheRun(s, "getcurrenttime", "00:12:36.0000000"); }},
      {"timer two and a half seconds short", [](World&) {},
       [](Scene& s) { answerAfterTheRun(s, "getfinaltime", "00:12:32.0600000"); }},
      {"timer one and a half seconds short", [](World&) {},
       [](Scene& s) { answerAfterTheRun(s, "getfinaltime", "00:12:33.0600000"); }},
      {"run without a split time", [](World& w) { w.argument = "--upload"; w.oldReceipt = true; },
       [](Scene& s) {
         s.machine.files.put(s.receipt(), "{\"i\":0,\"map\":\"ENDING:true\"}");
         s.machine.timerListens = true;
         answerAfterTheRun(s, "getfinaltime", "00:12:33.0600000");
       }},
      {"last split within the first second",
       [](World& w) { w.argument = "--upload"; w.oldReceipt = true; },
       [](Scene& s) { uploadWithLastSplit(s, "0.5", "00:12:34.5000000"); }},
      {"run on nightmare", [](World&) {},
       [](Scene& s) {
         s.world.result = replaced(receiptOf(kRun), "\"normal\"", "\"nightmare\"");
       }},
      {"receipt with longer keys before its own", [](World&) {},
       [](Scene& s) {
         s.world.result = replaced(receiptOf(kRun), "\"seed\"",
                                   "\"endings\":1,\"totals\":2,\"statuses\":3,\"seed\"");
       }},
      {"no ending map and a timer that has not ended",
       [](World& w) { w.argument = "--upload"; w.timer = Timer::none; },
       [](Scene& s) { s.machine.files.put(s.data() + "\\kovw_result.json", "{\"splits\":[]}"); }},
      {"no ending map and a timer that has ended",
       [](World& w) { w.argument = "--upload"; w.timer = Timer::none; },
       [](Scene& s) {
         s.machine.files.put(s.data() + "\\kovw_result.json", "{\"splits\":[],\"total\":5.5}");
         s.machine.timerListens = true;
         answerAfterTheRun(s, "getfinaltime", "00:12:33.0600000");
       }},
      {"receipt that is none and a timer that would answer",
       [](World& w) { w.argument = "--upload"; w.timer = Timer::none; },
       [](Scene& s) {
         s.machine.files.put(s.receipt(), "[1,2]");
         s.machine.timerListens = true;
         answerAfterTheRun(s, "getfinaltime", "00:12:33.0600000");
       }},
      {"unfinished run", [](World& w) { w.plays = {Plays::unfinished}; }},
      {"game that leaves nothing", [](World& w) { w.plays = {Plays::nothing}; }},
      {"run whose status is running", [](World& w) {
         w.plays = {Plays::runningStatus};
         w.race = Race::unreachable;
       }},
      {"mod result refused", [](World& w) {
         w.plays = {Plays::modResult};
         w.race = Race::refuses;
       }},
      {"mod result that the settings name",
       [](World& w) { w.plays = {Plays::modResult}; },
       [](Scene& s) { changeIni(s, "receipt=" + s.receipt(), "receipt=" + s.app() + "\\..\\data\\kovw_result.json"); }},
      {"upload with a choice", [](World& w) { w.argument = "--upload"; w.oldReceipt = true; },
       [](Scene& s) {
         change(s, s.receipt(), ",\"difficulty\":\"normal\"", "");
         s.machine.files.put(s.data() + "\\choice.txt", "nightmare\r\n");
       }},
      {"upload with a choice that is none",
       [](World& w) { w.argument = "--upload"; w.oldReceipt = true; w.difficulty = ""; },
       [](Scene& s) {
         change(s, s.receipt(), ",\"difficulty\":\"normal\"", "");
         s.machine.files.put(s.data() + "\\choice.txt", "hard");
       }},
      {"upload refused", [](World& w) {
         w.argument = "--upload";
         w.oldReceipt = true;
         w.race = Race::refuses;
       }},
      {"upload without server", [](World& w) {
         w.argument = "--upload";
         w.oldReceipt = true;
         w.server = "";
       }},
      {"page opened before", [](World& w) { w.savedToken = true; },
       [](Scene& s) { s.machine.files.put(s.data() + "\\profile_opened.flag", "1"); }},
      {"reply without token after a saved one", [](World& w) {
         w.savedToken = true;
         w.sendsToken = false;
       }},
      {"saved token and the page never opened", [](World& w) {
         w.savedToken = true;
         w.race = Race::unreachable;
       }},
      {"queue with a difficulty of its own and none in the settings",
       [](World& w) { w.queued = true; w.difficulty = ""; }},
      {"queue without a difficulty and one in the settings",
       [](World& w) { w.queued = true; w.difficulty = "nightmare"; },
       [](Scene& s) {
         change(s, s.data() + "\\pending\\p_20261114_201502.json", ",\"difficulty\":\"normal\"", "");
       }},
      {"queue with a folder and what is no entry", [](World& w) { w.queued = true; },
       [](Scene& s) {
         s.machine.files.makeFolder(s.data() + "\\pending\\folder.json");
         s.machine.files.put(s.data() + "\\pending\\bom.json", "\xEF\xBB\xBF{}");
         s.machine.files.put(s.data() + "\\pending\\notes.txt", "{}");
       }},
      {"queue that is refused", [](World& w) { w.queued = true; w.race = Race::refuses; }},
      {"queue without server", [](World& w) { w.queued = true; w.server = ""; }},
      {"server with slashes", [](World& w) { w.server = "http://race.example//"; w.queued = true; }},
      {"library with a NUL", [](World&) {},
       [](Scene& s) {
         const std::string path = "C:\\Steam\\steamapps\\libraryfolders.vdf";
         change(s, path, "\"C:\\\\Library\"",
                std::string("\"C:\\\\kov\\\\notes.txt") + '\0' + "\"\n\"path\" \"C:\\\\Library\"");
       }},
      {"no account and no player", [](World& w) { w.steam = Steam::noAccount; w.player = ""; }},
      {"steam that may not start", [](World& w) { w.starts = Starts::directly; },
       [](Scene& s) { s.machine.files.put("C:\\Steam\\steam.exe", "MZ").denied = true; }},
      {"game that may not start", [](World& w) {
         w.steam = Steam::none;
         w.namesGame = true;
       },
       [](Scene& s) { s.machine.files.put(s.gameExe(), "MZ").denied = true; }},
      {"game started late", [](World& w) { w.starts = Starts::late; }},
      {"game that may not be watched", [](World& w) { w.starts = Starts::locked; }},
      {"game that runs already", [](World& w) { w.starts = Starts::running; }},
      {"another app id", [](World&) {},
       [](Scene& s) { changeIni(s, "player=runner", "player=runner\r\nappid=77"); }},
      {"no package setting", [](World& w) { w.mod = Mod::noPackage; }},
      {"package folder missing", [](World& w) { w.mod = Mod::noPackage; },
       [](Scene& s) { changeIni(s, "player=", "install_from=C:\\nowhere\r\nplayer="); }},
      {"mod to be copied", [](World& w) { w.mod = Mod::missing; }},
      {"package with a folder that may not be read", [](World&) {},
       [](Scene& s) { s.machine.files.makeFolder(s.world.root + "\\pkg\\locked").denied = true; }},
      {"mod files of another size", [](World&) {},
       [](Scene& s) { s.machine.files.put(s.gameFolder() + "\\dwmapi.dll", "old"); }},
      {"mod incomplete", [](World& w) { w.mod = Mod::incomplete; }},
      {"card that may not start", [](World& w) { w.card = Card::broken; }},
      {"card that stays", [](World& w) { w.card = Card::slow; }},
      {"no card", [](World& w) { w.card = Card::none; }},
      {"no card and a failed upload", [](World& w) {
         w.card = Card::none;
         w.race = Race::unreachable;
       }},
      {"profile without token", [](World& w) { w.argument = "--profile"; }},
      {"profile with token", [](World& w) { w.argument = "--profile"; w.savedToken = true; }},
      {"detect without account", [](World& w) {
         w.argument = "--detect";
         w.steam = Steam::noAccount;
       }},
      {"detect without steam", [](World& w) {
         w.argument = "--detect";
         w.steam = Steam::none;
       }},
      {"an argument that is none", [](World& w) { w.argument = "--help"; w.dryrun = true; }},
      {"another time zone", [](World& w) {
         w.zoneMinutes = -210;
         w.race = Race::unreachable;
       }},
  };
}

// What is found, and how a run begins ---------------------------------------------------------

std::vector<OddMachine> oddStarts() {
  return {
      {"settings that are a folder", [](World& w) { w.hasIni = false; },
       [](Scene& s) { s.machine.files.makeFolder(s.app() + "\\launcher.ini"); }},
      {"settings that another program holds", [](World&) {},
       [](Scene& s) {
         s.machine.files.at(s.app() + "\\launcher.ini")->sharing = machine::Sharing::nothing;
       }},
      {"upload without settings",
       [](World& w) {
         w.argument = "--upload";
         w.hasIni = false;
       }},
      {"formats in the settings", dryRun,
       [](Scene& s) {
         changeIni(s, "player=", "steam=%s%n\r\ngame=%d\r\nplayer=");
         changeIni(s, "receipt=C:", "receipt=%x%5$n");
         s.machine.files.remove(s.gameExe());
         s.machine.steamPath = u"c:/%s%n";
       }},
      {"steam and game that the settings name",
       [](World& w) {
         w.dryrun = true;
         w.namesGame = true;
       },
       [](Scene& s) { changeIni(s, "player=", "steam=C:\\Steam\\steam.exe\r\nplayer="); }},
      {"folders that the settings name as steam and game", dryRun,
       [](Scene& s) { changeIni(s, "player=", "steam=C:\\kov\r\ngame=C:\\kov\\app\r\nplayer="); }},
      {"settings that name a steam and a game that are gone", dryRun,
       [](Scene& s) {
         changeIni(s, "player=", "steam=X:\\steam.exe\r\ngame=X:\\game.exe\r\nplayer=");
         s.machine.steamPath.reset();
       }},
      {"steam that is gone", dryRun, [](Scene& s) { s.machine.steamPath = u"x:/gone/Steam"; }},
      {"steam path that ends in a slash", dryRun,
       [](Scene& s) { s.machine.steamPath = u"c:/steam/"; }},
      {"empty steam path", dryRun, [](Scene& s) { s.machine.steamPath = u""; }},
      {"game in the steam folder without a library file", dryRun,
       [](Scene& s) {
         s.machine.files.remove("C:\\Steam\\steamapps\\libraryfolders.vdf");
         s.machine.files.put(replaced(s.gameExe(), "C:\\Library", "C:\\Steam"), "MZ");
       }},
      {"game in two of four libraries",
       [](World& w) {
         w.dryrun = true;
         w.libraries =
             stage::libraryFoldersVdf({"C:\\Steam", "X:\\gone", "C:\\Third", "C:\\Library"});
       },
       [](Scene& s) {
         s.machine.files.put(replaced(s.gameExe(), "C:\\Library", "C:\\Third"), "MZ");
       }},
      {"libraries as before 2021",
       [](World& w) {
         w.dryrun = true;
         w.libraries = stage::libraryFoldersVdf({"C:\\Steam", "C:\\Library"},
                                                stage::LibraryFileGeneration::before2021);
       }},
      {"account in the usual steam folder",
       [](World& w) {
         w.argument = "--detect";
         w.steam = Steam::none;
       },
       [](Scene& s) {
         s.machine.files.put(std::string(kUsualSteam) + "\\config\\loginusers.vdf",
                             stage::loginUsersVdf({stage::SteamAccount{}}));
       }},
      {"account that changes during the game", [](World&) {},
       [](Scene& s) {
         duringTheGame(s, [](machine::Machine& on) {
           on.files.put("C:\\Steam\\config\\loginusers.vdf",
                        stage::loginUsersVdf({{.id = "76561198000000777", .persona = "later"}}));
         });
       }},
      {"player with an accent",
       [](World& w) {
         w.steam = Steam::noAccount;
         w.player = "Jörg É";
       }},
      {"login code beside the program",
       [](World& w) {
         w.savedToken = true;
         w.sendsToken = false;
       },
       [](Scene& s) { s.machine.files.put(s.app() + "\\profile_token.txt", "k4-17 \r\n \r\n"); }},
      {"empty login code beside the program",
       [](World& w) {
         w.argument = "--profile";
         w.savedToken = true;
       },
       [](Scene& s) { s.machine.files.put(s.app() + "\\profile_token.txt", ""); }},
      {"login code of 300 bytes", [](World& w) { w.argument = "--detect"; },
       [](Scene& s) {
         s.machine.files.put(s.app() + "\\profile_token.txt", std::string(300, 'k'));
       }},
      {"login code of blanks", [](World& w) { w.argument = "--profile"; },
       [](Scene& s) { s.machine.files.put(s.data() + "\\profile_token.txt", " \r\n \n"); }},
      {"login code in another data folder",
       [](World& w) {
         w.argument = "--profile";
         w.savedToken = true;
       },
       [](Scene& s) {
         changeIni(s, "data=%APPDIR%..\\data", "data=C:\\elsewhere");
         s.machine.files.put("C:\\elsewhere\\profile_token.txt", "not preloaded");
       }},
  };
}

// The week and the queue ------------------------------------------------------------------------

/// Weekly files that an earlier run left.
void keepOldWeek(Scene& scene) {
  scene.machine.files.put(scene.data() + "\\week.json", "{\"seed\": 4711}");
  scene.machine.files.put(scene.data() + "\\board_en.txt", "old board");
  scene.machine.files.put(scene.data() + "\\rand_seed.txt", "1");
}

void queue(Scene& scene, const std::string& name, const std::string& bytes) {
  scene.machine.files.put(scene.data() + "\\pending\\" + name, bytes);
}

std::vector<OddMachine> oddWeeks() {
  return {
      {"week of an earlier run and no connection", [](World& w) { w.race = Race::unreachable; },
       keepOldWeek},
      {"week of an earlier run and no server", [](World& w) { w.server = ""; }, keepOldWeek},
      {"error page for everything",
       [](World& w) {
         w.race = Race::errorPage;
         w.queued = true;
       },
       keepOldWeek},
      {"replies that break off",
       [](World& w) {
         w.race = Race::cutsReplies;
         w.queued = true;
       }},
      {"empty replies",
       [](World& w) {
         w.race = Race::emptyReplies;
         w.queued = true;
       },
       keepOldWeek},
      {"connections that break after the request",
       [](World& w) {
         w.race = Race::breaksOff;
         w.queued = true;
       }},
      {"server that never answers",
       [](World& w) {
         w.race = Race::silent;
         w.queued = true;
       }},
      {"error page with a seed", [](World&) {},
       [](Scene& s) {
         answerOtherwise(s, [](machine::Machine&, const machine::Request& request) {
           if (request.path != "/week/current") return std::optional<machine::Reply>();
           return std::optional(machine::Reply{.body = "not found, try {\"seed\": 0099}"});
         });
       }},
      {"two weekly files that fail", [](World&) {},
       [](Scene& s) {
         keepOldWeek(s);
         answerOtherwise(s, [](machine::Machine&, const machine::Request& request) {
           const bool fails = request.path == "/week/current" || request.path == "/board-en";
           return fails ? std::optional(machine::Reply{machine::Failure::reset}) : std::nullopt;
         });
       }},
      {"weekly files that cannot be written", [](World&) {},
       [](Scene& s) {
         keepOldWeek(s);
         s.machine.files.at(s.data() + "\\week.json")->sharing = machine::Sharing::readOnly;
         s.machine.files.makeFolder(s.data() + "\\board.tsv");
         s.machine.files.makeFolder(s.data() + "\\rand_seed.txt");
       }},
      {"server that is slashes and a queue",
       [](World& w) {
         w.server = "///";
         w.queued = true;
       },
       keepOldWeek},
      {"server below a path",
       [](World& w) {
         w.server = "http://race.example/race//";
         w.queued = true;
       }},
      {"queue of three", [](World&) {},
       [](Scene& s) {
         queue(s, "p_20261114_201500.json", "{\"n\":2,\"ending\":1}");
         queue(s, "p_20261107_080910.json", "{\"n\":1,\"status\":\"running\",\"ending\":1}");
         queue(s, "p_20261114_201501.json", "{\"n\":3}");
       }},
      {"queue without an account",
       [](World& w) {
         w.steam = Steam::noAccount;
         w.player = "a\"b\\c";
         w.difficulty = "hardest ever";
       },
       [](Scene& s) { queue(s, "p_1.json", "{\"difficulty\":\"easy\"}"); }},
      {"queue of a folder alone", [](World&) {},
       [](Scene& s) { s.machine.files.makeFolder(s.data() + "\\pending\\x.json"); }},
      {"queue of other files alone", [](World&) {},
       [](Scene& s) { queue(s, "p_20261107_080910.txt", "{\"n\":1}"); }},
      {"queue entry that stays although it was sent", [](World& w) { w.queued = true; },
       [](Scene& s) {
         s.machine.files.at(s.data() + "\\pending\\p_20261114_201502.json")->sharing =
             machine::Sharing::readOnly;
       }},
      {"queue entry that another program holds", [](World&) {},
       [](Scene& s) {
         for (const char* name : {"p_1.json", "p_2.json", "p_3.json"}) queue(s, name, "{\"n\":0}");
         s.machine.files.at(s.data() + "\\pending\\p_2.json")->sharing = machine::Sharing::nothing;
       }},
      {"server that goes away amid the queue", [](World&) {},
       [](Scene& s) {
         for (int i = 10; i < 20; ++i) {
           queue(s, "p_" + std::to_string(i) + ".json", "{\"n\":" + std::to_string(i) + "}");
         }
         answerOtherwise(s, [sent = 0](machine::Machine&, const machine::Request& request) mutable {
           std::optional<machine::Reply> reply;
           if (request.path != "/submit" || ++sent <= 4) return reply;
           reply = machine::Reply{sent <= 7 ? machine::Failure::reset : machine::Failure::refused};
           return reply;
         });
       }},
      {"server that goes away during the game",
       [](World& w) {
         w.race = Race::refuses;
         w.queued = true;
       },
       [](Scene& s) { duringTheGame(s, [](machine::Machine& on) { on.servers.clear(); }); }},
      {"queue entry whose path is cut", [](World& w) { w.race = Race::unreachable; },
       [](Scene& s) {
         // 233 bytes: the entry's own path would have 264, and may have 259.
         const std::string data = "C:\\" + std::string(150, 'a') + "\\" + std::string(79, 'b');
         s.machine.files.makeFolder(data);
         changeIni(s, "data=%APPDIR%..\\data", "data=" + data);
       }},
  };
}

// The timer, the mod, the game -------------------------------------------------------------------

std::vector<OddMachine> oddGames() {
  return {
      {"timer settings that cannot be written", [](World&) {},
       [](Scene& s) { s.machine.files.at(s.world.root + "\\ls\\settings.cfg")->readOnly = true; }},
      {"timer without settings", [](World&) {},
       [](Scene& s) { s.machine.files.remove(s.world.root + "\\ls\\settings.cfg"); }},
      {"timer path without a backslash", [](World&) {},
       [](Scene& s) {
         changeIni(s, "livesplit=" + s.world.root + "\\ls\\LiveSplit.exe",
                   "livesplit=LiveSplit.exe");
         s.machine.files.setCurrentFolder(s.app());
         s.machine.files.put(s.app() + "\\LiveSplit.exe\\settings.cfg",
                             "<LayoutPath>x</LayoutPath>");
       }},
      {"timer that answers the thirtieth question", [](World& w) { w.timer = Timer::running; },
       [](Scene& s) {
         std::vector<std::string> phases(29);
         phases.emplace_back("Running\n");
         answerInTurn(s, {{"getcurrenttimerphase", phases}, {"getfinaltime", {"00:12:34.6\n"}}});
       }},
      {"timer that answers the thirty first question", [](World& w) { w.timer = Timer::running; },
       [](Scene& s) {
         std::vector<std::string> phases(30);
         phases.emplace_back("Running\n");
         answerInTurn(s, {{"getcurrenttimerphase", phases}, {"getfinaltime", {"00:12:34.6\n"}}});
       }},
      {"steam in its usual folder alone", [](World& w) { w.namesGame = true; },
       [](Scene& s) {
         s.machine.steamPath.reset();
         const std::string exe = std::string(kUsualSteam) + "\\steam.exe";
         s.machine.files.put(exe, "MZ");
         s.machine.setProgram(
             exe, [game = s.gameExe()](machine::Machine& on, const machine::Start&) {
               on.after(4000, [game](machine::Machine& later) { (void)later.startByHand(game); });
             });
       }},
      {"package that is a file", [](World& w) { w.mod = Mod::noPackage; },
       [](Scene& s) {
         changeIni(s, "player=", "install_from=C:\\kov\\pkg\r\nplayer=");
         s.machine.files.put("C:\\kov\\pkg", "somebody packed it");
       }},
      {"empty package and empty game", [](World& w) { w.mod = Mod::noPackage; },
       [](Scene& s) {
         changeIni(s, "player=", "install_from=C:\\kov\\pkg\r\nplayer=");
         s.machine.files.makeFolder("C:\\kov\\pkg");
       }},
      {"mod files in the place of folders", [](World&) {},
       [](Scene& s) {
         s.machine.files.put("C:\\kov\\pkg\\notes.txt", "read me");
         s.machine.files.put(s.gameFolder() + "\\notes.txt\\mine.txt", "a folder of this name");
         s.machine.files.put("C:\\kov\\pkg\\extras\\map.png", "a picture");
         s.machine.files.put(s.gameFolder() + "\\extras", "a file of this name");
       }},
      {"mod files that are held and read only", [](World& w) { w.mod = Mod::same; },
       [](Scene& s) {
         const std::string deep = "\\ue4ss\\Mods\\KOVWeekly\\Scripts\\main.lua";
         s.machine.files.put("C:\\kov\\pkg\\dwmapi.dll", "a new one");
         s.machine.files.put("C:\\kov\\pkg\\ue4ss\\UE4SS.dll", "a new one");
         s.machine.files.put("C:\\kov\\pkg" + deep, "a new one");
         s.machine.files.at(s.gameFolder() + "\\dwmapi.dll")->readOnly = true;
         s.machine.files.at(s.gameFolder() + "\\ue4ss\\UE4SS.dll")->sharing =
             machine::Sharing::nothing;
         s.machine.files.at("C:\\kov\\pkg" + deep)->sharing = machine::Sharing::nothing;
       }},
      {"folder in the place of a mod file", [](World&) {},
       [](Scene& s) {
         const std::string file = "\\ue4ss\\Mods\\KOVWeekly\\enabled.txt";
         for (const std::string& folder : {s.gameFolder(), std::string("C:\\kov\\pkg")}) {
           s.machine.files.remove(folder + file);
         }
         s.machine.files.makeFolder(s.gameFolder() + file);
       }},
      {"game path with other slashes", [](World&) {},
       [](Scene& s) {
         std::string game = s.gameExe();
         std::replace(game.begin(), game.end(), '\\', '/');
         changeIni(s, "player=", "game=" + game + "\r\nplayer=");
       }},
      {"mod level without a file to copy", [](World&) {},
       [](Scene& s) {
         s.machine.files.put("C:\\kov\\pkg\\ue4ss\\Mods\\KOVWeekly\\Scripts\\levels.lua",
                             "return {}");
         s.machine.files.put("C:\\kov\\pkg\\ue4ss\\Mods\\shared\\Types.lua", "return {}");
         s.machine.files.makeFolder("C:\\kov\\pkg\\ue4ss\\Mods\\shared\\empty");
       }},
      {"data folder below a missing one", [](World&) {},
       [](Scene& s) { changeIni(s, "data=%APPDIR%..\\data", "data=C:\\none\\data"); }},
      {"file in place of the data folder", [](World& w) { w.hasDataFolder = false; },
       [](Scene& s) { s.machine.files.put(s.data(), "no folder"); }},
      {"folders in place of the files of the data folder", [](World& w) { w.race = Race::refuses; },
       [](Scene& s) {
         for (const char* name :
              {"launch.state", "upload.state", "timer.enabled", "board.toggle", "week.json",
               "rand_seed.txt", "leaderboard.json", "board_data.txt", "board_en.txt", "board.txt",
               "board.tsv", "profile_token.txt", "profile_opened.flag"}) {
           s.machine.files.makeFolder(s.data() + "\\" + name);
         }
       }},
      {"log that is a folder", [](World&) {},
       [](Scene& s) { s.machine.files.makeFolder(s.app() + "\\launcher.log"); }},
      {"archive folder that goes during the game", [](World&) {},
       [](Scene& s) {
         duringTheGame(s, [folder = s.data() + "\\receipts"](machine::Machine& on) {
           on.files.remove(folder + "\\receipt_20261107_200000.json");
           on.files.remove(folder);
         });
       }},
      {"receipt that is empty", [](World& w) { w.result = ""; }},
      {"receipt that is a folder", [](World& w) { w.plays = {Plays::nothing}; },
       [](Scene& s) { s.machine.files.makeFolder(s.receipt()); }},
      {"receipt that another program holds",
       [](World& w) {
         w.plays = {Plays::nothing};
         w.oldReceipt = true;
       },
       [](Scene& s) { s.machine.files.at(s.receipt())->sharing = machine::Sharing::nothing; }},
      {"receipt missing in a Chinese folder",
       [](World& w) {
         w = namedWorld("code page 936");
         w.plays = {Plays::nothing};
       }},
      {"mod result without a receipt", [](World& w) { w.plays = {Plays::nothing}; },
       [](Scene& s) { s.machine.files.put(s.data() + "\\kovw_result.json", receiptOf(kRun)); }},
  };
}

// The judgement -----------------------------------------------------------------------------------

/// A run of --upload on this receipt, with a timer that ended at this time; empty: without one.
OddMachine judged(const char* name, const std::string& receipt, const std::string& time = {}) {
  return {name, uploads, [receipt, time](Scene& s) {
            s.machine.files.put(s.receipt(), receipt);
            if (!time.empty()) answerEndedAt(s, time);
          }};
}

std::vector<OddMachine> oddJudgements() {
  const auto inModResult = [](const std::string& run) {
    return [run](Scene& s) { s.machine.files.put(s.data() + "\\kovw_result.json", run); };
  };
  const auto named = [](const char* name, const std::string& run) {
    return [name, run](Scene& s) {
      changeIni(s, "receipt=" + s.receipt(), "receipt=" + s.app() + "\\..\\data\\" + name);
      s.machine.files.put(s.data() + "\\kovw_result.json", run);
    };
  };
  const std::string noMarker = runEndingWith({"Level 37 Tunnel", "754.560"});
  return {
      {"timer that answers otherwise each time", uploads,
       [](Scene& s) {
         s.machine.files.put(s.receipt(), receiptOf(kRun));
         answerInTurn(s, {{"getcurrenttimerphase", {"Running\n"}},
                          {"getfinaltime", {"00:01:00\n", "00:12:00.5\n", "00:13:00.25\n"}}});
       }},
      {"timer that stops giving times", uploads,
       [](Scene& s) {
         s.machine.files.put(s.receipt(), receiptOf(kRun));
         answerInTurn(s, {{"getcurrenttimerphase", {"Ended\n"}},
                          {"getfinaltime", {"00:12:35\n", "00:12:36\n", "-\n"}},
                          {"getlastsplittime", {"-\n"}},
                          {"getcurrenttime", {"00:00:00\n"}}});
       }},
      {"timer that goes after the first answer", uploads,
       [](Scene& s) {
         s.machine.files.put(s.receipt(), receiptOf(kRun));
         answerInTurn(s, {{"getcurrenttimerphase", {""}},
                          {"getfinaltime", {"00:12:34.6\n", ""}},
                          {"getlastsplittime", {""}},
                          {"getcurrenttime", {""}}});
       }},
      {"personal best of a timer that runs", uploads,
       [](Scene& s) {
         s.machine.files.put(s.receipt(), receiptOf(kRun));
         answerInTurn(s, {{"getcurrenttimerphase", {"Running\n"}},
                          {"getfinaltime", {"01:23:45.6780000\n"}}});
       }},
      {"timer replies with a NUL", uploads,
       [inModResult](Scene& s) {
         inModResult("{\"status\":\"x\",\"ending\":\"main\",\"map\":\"Level 0\",\"t\":5}")(s);
         answerInTurn(s, {{"getcurrenttimerphase", {std::string("Ended\0\n", 7)}},
                          {"getfinaltime",
                           {std::string("00:12:34.56\0"
                                        "99\n",
                                        15)}}});
       }},
      {"timer replies that begin with a NUL", uploads,
       [](Scene& s) {
         s.machine.files.put(s.receipt(), receiptOf(kRun));
         const std::vector<std::string> time = {
             std::string("\0"
                         "00:12:34.56\n",
                         13)};
         answerInTurn(s, {{"getcurrenttimerphase", {std::string("\0Ended\n", 7)}},
                          {"getfinaltime", time},
                          {"getlastsplittime", time},
                          {"getcurrenttime", time}});
       }},
      judged("timer exactly two seconds short", runEndingWith({"ENDING:main", "12.5"}),
             "00:00:10.5"),
      judged("timer a little more than two seconds short", runEndingWith({"ENDING:main", "12.5"}),
             "00:00:10.49"),
      judged("last split at zero", runEndingWith({"ENDING:main", "0.0"}), "00:00:10.5"),
      judged("marker that is never closed", "{\"map\":\"ENDING:main"),
      judged("marker after a blank", "{\"splits\":[{\"i\":0,\"map\": \"ENDING:main\",\"t\":5}]}"),
      judged("ending map that is no marker", noMarker),
      judged("status that is no text",
             "{\"status\":1,\"x\":\"y\",\"difficulty\":\"normal\",\"splits\":[{\"i\":0,\"map\":"
             "\"ENDING:main\",\"t\":9.5}]}"),
      judged("difficulty that is none",
             "{\"map\":\"ENDING:main\",\"t\":5,\"difficulty\":\"hard\"}"),
      {"empty mod result that hides a good receipt", uploads,
       [inModResult](Scene& s) {
         s.machine.files.put(s.receipt(), receiptOf(kRun));
         inModResult("")(s);
       }},
      {"mod result without the marker", uploads, inModResult(noMarker)},
      {"mod result that the settings name without the marker", uploads,
       named("kovw_result.json", noMarker)},
      {"mod result that the settings name in capitals", uploads,
       named("KOVW_RESULT.json", noMarker)},
      {"mod result and receipt that are refused",
       [](World& w) {
         uploads(w);
         w.race = Race::refuses;
       },
       [inModResult](Scene& s) {
         s.machine.files.put(s.receipt(), stage::unfinishedRun().text());
         inModResult(receiptOf(kRun))(s);
       }},
      {"finished status without the marker", [noMarker](World& w) { w.result = noMarker; }},
      {"blank before the finished status",
       [](World& w) {
         w.result = "{\"status\": \"ending\",\"total\":1}";
         w.race = Race::unreachable;
       }},
      {"empty mod result of a finished run", [](World&) {}, inModResult("")},
      {"mod result that is queued",
       [](World& w) {
         w.plays = {Plays::modResult};
         w.race = Race::unreachable;
       }},
      {"mod result that another program holds", [](World& w) { w.race = Race::refuses; },
       [inModResult](Scene& s) {
         inModResult(receiptOf(kOther))(s);
         s.machine.files.at(s.data() + "\\kovw_result.json")->sharing = machine::Sharing::nothing;
       }},
  };
}

// The reply, the page and the card ------------------------------------------------------------

/// A run whose submission is answered with this.
OddMachine answered(const char* name, const std::string& reply) {
  return {name, [reply](World& w) { w.reply = reply; }};
}

/// The settings file becomes this while the server thinks about a submission.
std::function<void(Scene&)> settingsBecome(const std::optional<std::string>& ini) {
  return [ini](Scene& s) {
    answerOtherwise(s, [ini, path = s.app() + "\\launcher.ini"](machine::Machine& on,
                                                                const machine::Request& request) {
      if (request.path == "/submit" && ini) on.files.put(path, *ini);
      if (request.path == "/submit" && !ini) on.files.remove(path);
      return std::optional<machine::Reply>();
    });
  };
}

std::vector<OddMachine> oddReplies() {
  const auto early = [](World& w) { w.site = "https://early.example"; };
  return {
      answered("reply with rank and points", "{\"accepted\":true,\"rank\":-3x,\"points\": 85}"),
      answered("reply with a rank after a blank",
               "{\"rank\" :4,\"points\":\"9\",\"accepted\": true}"),
      answered("refusal with values",
               "{\"accepted\":false,\"error\":\"the week window closed on "
               "Sunday\",\"rank\":7,\"points\":1}"),
      answered("refusal in other words",
               "{\"accepted\":false,\"error\":\"比赛服务器正在维护: 100% {x} --kind ok\"}"),
      answered("refusal with a login code",
               "{\"accepted\":false,\"error\":\"race is closed\",\"token\":\"t1\"}"),
      answered("reply with an empty login code", "{\"accepted\":true,\"token\":\"\"}"),
      answered("reply with an open login code", "{\"accepted\":true,\"token\":\"open"),
      answered("reply of many lines with a NUL",
               std::string("{\"accepted\":false,\n\"a\":1,\r\n\"b\":2,%s%n}\0\"c\"", 43)),
      answered("acceptance after a NUL", std::string("{\"a\":\"\0\",\"accepted\":true}", 25)),
      answered("acceptance in other letters", "{\"accepted\":True}"),
      {"site that changes while the server thinks", early,
       settingsBecome("site=https://late.example")},
      {"settings that go while the server thinks", early, settingsBecome(std::nullopt)},
      {"login code after another",
       [](World& w) {
         w.savedToken = true;
         w.reply = "{\"accepted\":true,\"token\":\"new\"}";
       },
       [](Scene& s) { s.machine.files.put(kFirstTime, ""); }},
      {"site and a saved login code",
       [](World& w) {
         w.savedToken = true;
         w.sendsToken = false;
         w.site = "https://race.example";
       }},
      {"saved login code and a refusal",
       [](World& w) {
         w.savedToken = true;
         w.race = Race::refuses;
       }},
      {"saved login code and an unfinished run",
       [](World& w) {
         w.savedToken = true;
         w.plays = {Plays::unfinished};
       }},
      {"page flag that cannot be written",
       [](World& w) {
         w.savedToken = true;
         w.sendsToken = false;
       },
       [](Scene& s) { s.machine.files.makeFolder(kFirstTime); }},
      {"receipt that stays after it was accepted",
       [](World& w) {
         w.argument = "--upload";
         w.oldReceipt = true;
       },
       [](Scene& s) { s.machine.files.at(s.receipt())->sharing = machine::Sharing::noDelete; }},
      {"no card and a receipt that stays",
       [](World& w) {
         w.card = Card::none;
         w.oldReceipt = true;
       },
       [](Scene& s) { s.machine.files.at(s.receipt())->sharing = machine::Sharing::noDelete; }},
      {"no card and an unfinished run",
       [](World& w) {
         w.card = Card::none;
         w.plays = {Plays::unfinished};
       }},
      {"card that is a folder", [](World& w) { w.card = Card::none; },
       [](Scene& s) { s.machine.files.makeFolder(s.app() + "\\kov_result.exe"); }},
      {"finished run without a server", [](World& w) { w.server = ""; }},
  };
}

std::string underscored(std::string name) {
  std::replace(name.begin(), name.end(), ' ', '_');
  return name;
}

/// The run's calls, without those at its begin and at its end that a run on a machine with
/// nothing odd makes there too.
std::string callsOf(const OddMachine& odd, const std::vector<std::string>& usual) {
  World world;
  odd.world(world);
  Scene scene(world);
  odd.change(scene);
  scene.machine.recording = true;
  std::string text = "exit code " + std::to_string(scene.run()) + "\n";
  const std::vector<std::string>& calls = scene.machine.record;
  const auto begin = std::mismatch(calls.begin(), calls.end(), usual.begin(), usual.end());
  const auto end = std::mismatch(calls.rbegin(), std::make_reverse_iterator(begin.first),
                                 usual.rbegin(), std::make_reverse_iterator(begin.second));
  text += std::to_string(begin.first - calls.begin()) + " calls as usual\n";
  for (auto call = begin.first; call != end.first.base(); ++call) text += *call + "\n";
  return text + std::to_string(end.first - calls.rbegin()) + " calls as usual\n";
}

std::vector<std::string> usualCalls() {
  Scene scene{World{}};
  scene.machine.recording = true;
  (void)scene.run();
  return scene.machine.record;
}

class OddMachines : public ::testing::TestWithParam<OddMachine> {};

TEST_P(OddMachines, callsAreExactlyThese) {
  const bool isUsual = GetParam().name == std::string("nothing odd");
  const std::string calls =
      callsOf(GetParam(), isUsual ? std::vector<std::string>() : usualCalls());
  const std::string file = std::string(KOV_SOURCE_DIR) + "/tests/data/calls/" +
                           underscored(GetParam().name) + ".txt";
  if (std::getenv("KOV_WRITE_RUNS")) {
    std::ofstream(file, std::ios::binary) << calls;
    GTEST_SKIP() << "written: " << file;
  }
  std::ifstream stream(file, std::ios::binary);
  const std::string expected{std::istreambuf_iterator<char>(stream), {}};
  EXPECT_EQ(calls, expected);
}

std::string withoutBlanks(const ::testing::TestParamInfo<OddMachine>& odd) {
  std::string name = odd.param.name;
  std::erase(name, ' ');
  return name;
}

INSTANTIATE_TEST_SUITE_P(Every, OddMachines, ::testing::ValuesIn(oddMachines()), withoutBlanks);
INSTANTIATE_TEST_SUITE_P(Starts, OddMachines, ::testing::ValuesIn(oddStarts()), withoutBlanks);
INSTANTIATE_TEST_SUITE_P(Weeks, OddMachines, ::testing::ValuesIn(oddWeeks()), withoutBlanks);
INSTANTIATE_TEST_SUITE_P(Games, OddMachines, ::testing::ValuesIn(oddGames()), withoutBlanks);
INSTANTIATE_TEST_SUITE_P(Judgements, OddMachines, ::testing::ValuesIn(oddJudgements()),
                         withoutBlanks);
INSTANTIATE_TEST_SUITE_P(Replies, OddMachines, ::testing::ValuesIn(oddReplies()), withoutBlanks);

}  // namespace
}  // namespace worlds
