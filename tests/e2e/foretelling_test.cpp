// On every scene of the rehearsal, what the companion's first page foretells is what the
// launcher then logs and does.

#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
#include <map>
#include <optional>

#include "rehearsal/scenes/show.h"
#include "tests/e2e/support.h"

namespace e2e {
namespace {

using rehearsal::Scene;
using rehearsal::Show;
using stage::isLike;
using stage::textOf;

// What the launcher did ---------------------------------------------------------------------

/// A scene that has been played.
struct Played {
  Show& show;
  Lines log;

  [[nodiscard]] bool has(const std::string& pattern) const {
    for (const std::string& line : log) {
      if (isLike(line, pattern)) return true;
    }
    return false;
  }
  [[nodiscard]] bool isDryRun() const { return has("DRYRUN *"); }
  [[nodiscard]] bool isUploadOnly() const { return has("=== upload-only mode ==="); }
  [[nodiscard]] bool isFull() const { return has("stage: launching game"); }

  /// The command line with which a stand-in was first started; "" when it was not.
  [[nodiscard]] std::string started(const char* who) const {
    const std::vector<stage::Event> starts = show.machine().timeline().events(who, "start");
    return starts.empty() ? "" : starts.front().text;
  }
  [[nodiscard]] std::size_t submissions() const {
    std::size_t count = 0;
    for (const stage::Request& request : show.requests()) count += request.target == "/submit";
    return count;
  }
  /// Submissions of this run itself, not of the queue.
  [[nodiscard]] std::size_t ownSubmissions() const { return has("upload response: *") ? 1 : 0; }
};

// What each row foretells ---------------------------------------------------------------------

using Values = std::vector<std::string>;

/// A row of the page, and whether the run was as it says. In the pattern "*" stands for a
/// value; `isTrue` gets all of them.
struct Foretold {
  const char* row;
  std::function<bool(const Played&, const Values&)> isTrue;
};

bool startsQuoted(const std::string& commandLine, const std::string& program) {
  return commandLine.starts_with("\"" + program + "\"");
}

/// No LiveSplit is started, and the mod's own time is used.
bool playsWithoutTimer(const Played& run, const Values& /*values*/) {
  return !run.has("livesplit started*") && run.started("livesplit").empty() &&
         run.has("livesplit time unavailable, using receipt time");
}

bool timerServerStaysOff(const Played& run, const Values& /*values*/) {
  return run.has("WARNING: livesplit tcp server not reachable") &&
         run.has("livesplit probe failed (server not started?)");
}

bool modIsMissing(const Played& run, const Values& files) {
  return run.has("MISSING after install: " + files[0]) && run.has("mod install INCOMPLETE*");
}

bool saysNothing(const Played& /*run*/, const Values& /*values*/) { return true; }

const std::vector<Foretold>& everyRow() {
  static const std::vector<Foretold> rows = {
      // Place
      {"[good] The programs are in *",
       [](const Played& run, const Values& values) {
         const bool card = run.has("result card: *");
         return !run.log.empty() && textOf(run.show.machine().log()) == values[0] + "launcher.log" &&
                card == run.isFull();
       }},
      {"[worth knowing] There is no kov_result.exe here; results come in a plain box only.",
       [](const Played& run, const Values&) {
         const auto boxes = run.show.boxes().boxes();
         return !run.has("result card: *") && run.started("card").empty() && boxes.size() == 1 &&
                boxes[0].caption == "KOV";
       }},
      // Settings
      {"[good] launcher.ini is in order.",
       [](const Played& run, const Values&) { return !run.isDryRun(); }},
      {"[bad] launcher.ini has dryrun=1: the launcher only looks at its settings and starts no "
       "game.",
       [](const Played& run, const Values&) {
         return run.isDryRun() && !run.isFull() && run.started("game").empty();
       }},
      // Data folder
      {"[good] The data folder can be written and read: *",
       [](const Played& run, const Values& values) {
         if (run.isDryRun()) return run.has("DRYRUN data=" + values[0]);
         return !run.isFull() ||
                run.has("receipt archived: " + values[0] + "\\receipts\\receipt_*.json");
       }},
      {"[worth knowing] The receipt of an earlier run is still there; the next run overwrites "
       "it: *",
       [](const Played& run, const Values& values) {
         return run.isUploadOnly() && run.ownSubmissions() == 1 &&
                !stage::pathExists(stage::pathOf(values[0]));
       }},
      // Steam and account
      {"[good] Steam: *",
       [](const Played& run, const Values& values) {
         if (run.isDryRun()) return run.has("DRYRUN steam=" + values[0]);
         if (run.isUploadOnly()) return true;
         return run.has("steam detected: " + values[0]) &&
                (!run.isFull() || startsQuoted(run.started("steam"), values[0]));
       }},
      {"[good] The account will be * (SteamID ending in *).",
       [](const Played& run, const Values& values) {
         if (run.isDryRun()) return run.has("DRYRUN steam_id=*" + values[1] + " persona=" + values[0]);
         if (run.isFull() && !run.has("steam persona detected: " + values[0])) return false;
         if (run.ownSubmissions() == 0) return true;
         const std::string name = run.isFull() ? values[0] : "*";  // --upload asks no Steam
         return isLike(run.show.requests().back().body,
                       "{\"player\":\"" + name + "\",\"playerId\":\"*" + values[1] + "\",*");
       }},
      // Game
      {"[good] Game: *",
       [](const Played& run, const Values& values) {
         if (run.isDryRun()) return run.has("DRYRUN game=" + values[0]);
         if (run.isUploadOnly()) return true;
         return run.has("game detected: " + values[0]) &&
                startsQuoted(run.started("game"), values[0]);
       }},
      {"[bad] The game was not found; the launcher will end.",
       [](const Played& run, const Values&) {
         return run.has("game not found, aborting") && run.show.run().exitCode == 1 &&
                run.started("game").empty();
       }},
      // Race mod
      {"[good] The mod is installed (4/4 files).",
       [](const Played& run, const Values&) {
         return !run.isFull() || run.has("mod install verified OK (4/4 files)");
       }},
      {"[bad] The game's folder lacks files of the mod; a run would not be timed: *", modIsMissing},
      {"[worth knowing] Missing in the mod's folder of the package: *", modIsMissing},
      {"[unknown] Without the game the mod cannot be seen.",
       [](const Played& run, const Values&) { return !run.has("*mod install*"); }},
      {"[unknown] Windows does not say which antivirus programs are installed.", saysNothing},
      {"[good] *Windows Security Center*", saysNothing},
      // LiveSplit
      {"[good] LiveSplit: *",
       [](const Played& run, const Values& values) {
         if (run.isDryRun()) return run.has("DRYRUN livesplit=" + values[0]);
         return !run.isFull() || startsQuoted(run.started("livesplit"), values[0]);
       }},
      {"[worth knowing] launcher.ini has no livesplit=: LiveSplit is not used, the mod's own time "
       "counts.",
       playsWithoutTimer},
      {"[good] LiveSplit is not used and was not asked.", playsWithoutTimer},
      {"[worth knowing] LiveSplit's server is not set to start with it.", timerServerStaysOff},
      {"[worth knowing] LiveSplit does not run now; the launcher starts it, but its server does "
       "not start by itself.",
       timerServerStaysOff},
      {"[good] LiveSplit does not run now; the launcher starts it, and its server starts too.",
       [](const Played& run, const Values&) {
         return !run.isFull() || (run.has("livesplit started early (before chooser)") &&
                                  run.has("livesplit tcp server reachable (phase=NotRunning)"));
       }},
      // Race server
      {"[good] The race server answers: *, seed *.",
       [](const Played& run, const Values& values) {
         const auto seed = run.show.machine().dataFile("rand_seed.txt");
         return !run.isFull() ||
                (run.has("week.json updated from server") && seed == values[1] &&
                 isLike(run.show.machine().dataFile("week.json").value_or(""),
                        "*\"" + values[0] + "\"*"));
       }},
      {"[bad] The server * does not take the connection.",
       [](const Played& run, const Values&) {
         return run.has("week.json: server unreachable, using cached copy") &&
                run.has("upload failed (server unreachable), saved to pending queue") &&
                run.show.requests().empty();
       }},
      {"[bad] The server says that the race of this week (*) is not open.",
       [](const Played& run, const Values&) {
         return run.has("upload response: *week window closed*");
       }},
      // Queue
      {"[good] No result waits to be sent; * receipt(s) are kept.",
       [](const Played& run, const Values&) {
         return !run.has("pending flushed: *") && run.submissions() == run.ownSubmissions();
       }},
      {"[worth knowing] * result(s) wait to be sent, the oldest since *.",
       [](const Played& run, const Values& values) {
         return run.has("pending flushed: *") &&
                run.submissions() == std::stoul(values[0]) + run.ownSubmissions();
       }},
  };
  return rows;
}

/// What stands for each "*" of a pattern; nothing when the text is not like it.
std::optional<Values> valuesOf(const std::string& text, const std::string& pattern) {
  Values values;
  std::size_t at = 0;
  for (std::size_t part = 0; part <= pattern.size();) {
    const std::size_t star = std::min(pattern.find('*', part), pattern.size());
    const std::string fixed = pattern.substr(part, star - part);
    const bool isLast = star == pattern.size();
    // The last part stands at the end; every other where it comes first.
    const std::size_t found =
        part == 0 ? (text.starts_with(fixed) ? 0 : std::string::npos)
        : isLast  ? (text.ends_with(fixed) ? text.size() - fixed.size() : std::string::npos)
                  : text.find(fixed, at);
    if (found == std::string::npos || found < at) return std::nullopt;
    if (part > 0) values.push_back(text.substr(at, found - at));
    at = found + fixed.size();
    part = star + 1;
  }
  if (at != text.size()) return std::nullopt;
  return values;
}

// The scenes ------------------------------------------------------------------------------------

constexpr char kNotFound[] = "[bad] The game was not found; the launcher will end.";
constexpr char kQueued[] = "[worth knowing] * result(s) wait to be sent, the oldest since *.";

/// The rows of each scene that are not those of a machine on which all is well.
const std::map<std::string, Lines>& knownScenes() {
  static const std::map<std::string, Lines> scenes = {
      {"finish", {kQueued}},
      {"unfinished", {}},
      {"steam-fails", {}},
      {"game-missing", {kNotFound, "[unknown] Without the game the mod cannot be seen."}},
      {"no-mod",
       {"[worth knowing] Missing in the mod's folder of the package: \\dwmapi.dll",
        "[bad] The game's folder lacks files of the mod; a run would not be timed: "
        "\\dwmapi.dll"}},
      {"dryrun",
       {"[bad] launcher.ini has dryrun=1: the launcher only looks at its settings and starts no "
        "game."}},
      {"upload-only",
       {"[worth knowing] The receipt of an earlier run is still there; the next run overwrites "
        "it: *"}},
      {"no-livesplit",
       {"[worth knowing] launcher.ini has no livesplit=: LiveSplit is not used, the mod's own "
        "time counts.",
        "[good] LiveSplit is not used and was not asked."}},
      {"livesplit-late", {}},
      {"livesplit-off",
       {"[worth knowing] LiveSplit's server is not set to start with it.",
        "[worth knowing] LiveSplit does not run now; the launcher starts it, but its server does "
        "not start by itself."}},
      {"offline", {"[bad] The server * does not take the connection."}},
      {"refused", {}},
      {"hard-difficulty", {}},
      {"week-closed", {"[bad] The server says that the race of this week (*) is not open."}},
      {"queue", {kQueued}},
      {"no-card",
       {"[worth knowing] There is no kov_result.exe here; results come in a plain box only."}},
      {"first-login", {}},
      {"second-login", {}},
  };
  return scenes;
}

/// The rows of a machine on which all is well.
bool isUsual(const std::string& row) {
  for (const char* usual :
       {"[good] The programs are in *", "[good] launcher.ini is in order.",
        "[good] The data folder can be written and read: *", "[good] Steam: *",
        "[good] The account will be * (SteamID ending in *).", "[good] Game: *",
        "[good] The mod is installed (4/4 files).",
        "[unknown] Windows does not say which antivirus programs are installed.",
        "[good] *Windows Security Center*", "[good] LiveSplit: *",
        "[good] LiveSplit does not run now; the launcher starts it, and its server starts too.",
        "[good] The race server answers: *, seed *.",
        "[good] No result waits to be sent; * receipt(s) are kept."}) {
    if (isLike(row, usual)) return true;
  }
  return false;
}

TEST(Foretelling, knowsEveryScene) {
  std::vector<std::string> names;
  for (const Scene& scene : rehearsal::allScenes()) names.emplace_back(scene.name);
  std::sort(names.begin(), names.end());
  std::vector<std::string> known;
  for (const auto& scene : knownScenes()) known.push_back(scene.first);
  EXPECT_EQ(known, names);
}

class EachScene : public ::testing::TestWithParam<Scene> {
 protected:
  /// Asks the companion on the scene's machine.
  void ask(Show& show) {
    stage::RunOptions options;
    options.environment = {{"LOCALAPPDATA", textOf(show.machine().local())},
                           {"TEMP", "C:\\windows\\temp"},
                           {"TMP", "C:\\windows\\temp"}};
    stage::LauncherRun run(show.machine().installCheck(), "--text --language en", options);
    const stage::RunResult result = run.wait();
    canRace = result.exitCode == 0;
    page = result.console.substr(0, result.console.find("\n== My runs\n"));
    for (const std::string& line : linesOf(page)) {
      if (line.starts_with('[')) rows.push_back(line);
    }
  }

  /// Plays the scene; compares what was foretold with what is known of it, and with the run.
  void playAndCompare() {
    ASSERT_NO_FATAL_FAILURE(play(GetParam()));
    Lines unusual;
    for (const std::string& row : rows) {
      if (!isUsual(row)) unusual.push_back(row);
    }
    const Lines& wanted = knownScenes().at(std::string(GetParam().name));
    ASSERT_EQ(unusual.size(), wanted.size()) << page;
    for (std::size_t i = 0; i < wanted.size(); ++i) {
      EXPECT_TRUE(isLike(unusual[i], wanted[i])) << unusual[i] << "\n" << wanted[i];
    }
    const bool isBad = ("\n" + page).find("\n[bad]") != std::string::npos;
    EXPECT_EQ(canRace, !isBad) << page;
  }

 private:
  void play(const Scene& scene) {
    Show show(scene.name, scene.rules());
    show.machine().keepFolder(false);
    show.showNoCards();  // ./rehearse shows them
    show.beforePlay([&] { ask(show); });
    scene.play(show);
    EXPECT_TRUE(show.conclude());
    ASSERT_FALSE(rows.empty()) << page;
    const Played run{show, show.run().logLines()};
    for (const std::string& row : rows) expectTrue(row, run);
    // Of a race that can be run the game is played to its end.
    if (canRace && !run.isUploadOnly()) {
      EXPECT_TRUE(run.has("game exited"));
      EXPECT_TRUE(run.has(kDoneLine));
    }
  }

  void expectTrue(const std::string& row, const Played& run) const {
    bool isKnown = false;
    for (const Foretold& foretold : everyRow()) {
      const std::optional<Values> values = valuesOf(row, foretold.row);
      if (!values) continue;
      isKnown = true;
      EXPECT_TRUE(foretold.isTrue(run, *values)) << row << "\n" << asWritten(run.log);
    }
    EXPECT_TRUE(isKnown) << "nothing is known of: " << row;
  }

  std::string page;
  Lines rows;
  bool canRace = false;
};

std::vector<Scene> scenesThatWait(bool wait) {
  std::vector<Scene> scenes;
  for (const Scene& scene : rehearsal::allScenes()) {
    const bool waits = scene.name == "steam-fails" || scene.name == "livesplit-off";
    if (waits == wait) scenes.push_back(scene);
  }
  return scenes;
}

std::string nameOf(const ::testing::TestParamInfo<Scene>& scene) {
  return stage::replaceAll(std::string(scene.param.name), "-", "_");
}

TEST_P(EachScene, isWhatTheCompanionForetold) { playAndCompare(); }
INSTANTIATE_TEST_SUITE_P(Foretelling, EachScene, ::testing::ValuesIn(scenesThatWait(false)),
                         nameOf);

class EachSceneLong : public EachScene {};
TEST_P(EachSceneLong, isWhatTheCompanionForetold) { playAndCompare(); }
INSTANTIATE_TEST_SUITE_P(Foretelling, EachSceneLong, ::testing::ValuesIn(scenesThatWait(true)),
                         nameOf);

}  // namespace
}  // namespace e2e
