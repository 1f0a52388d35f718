// A run on machines on which something is odd, each call of it compared, in the order of the
// calls; left out is what its first and last calls share with a run with nothing odd. What is compared with stands in tests/data/calls/, one file for each machine; with
// KOV_WRITE_RUNS set the test writes these files instead, to be read before they are
// committed.

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <fstream>
#include <functional>
#include <iterator>
#include <string>
#include <vector>

#include "tests/run/world.h"

namespace worlds {
namespace {

struct OddMachine {
  const char* name;
  std::function<void(World&)> world;
  std::function<void(Scene&)> change = [](Scene&) {};
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

INSTANTIATE_TEST_SUITE_P(Every, OddMachines, ::testing::ValuesIn(oddMachines()),
                         [](const auto& odd) {
                           std::string name = odd.param.name;
                           std::erase(name, ' ');
                           return name;
                         });

}  // namespace
}  // namespace worlds
