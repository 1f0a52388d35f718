#pragma once

#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "tests/machine/machine.h"

/// Whole runs of the launcher on the machine in memory.
namespace worlds {

// Each run is known by the seed in its receipt.
inline constexpr char kRun[] = "1001";     ///< played in the first game
inline constexpr char kQueued[] = "1002";  ///< queued by an earlier start
inline constexpr char kOther[] = "1003";   ///< played in the second game
inline constexpr char kOld[] = "1004";     ///< its receipt was never delivered

/// What the race server does with what it is asked.
enum class Race {
  accepts, refuses, errorPage, unreachable, silent, breaksOff, cutsReplies, emptyReplies,
};

/// What the game leaves when it ends.
enum class Plays {
  finished,      ///< a receipt of a finished run
  unfinished,    ///< of one that was given up
  nothing,       ///< no receipt
  garbage,       ///< a receipt that is none
  runningStatus, ///< a finished run whose status does not say so
  modResult,     ///< the mod's own result file beside a receipt without the ending's mark
};

/// How the game comes up.
enum class Starts {
  bySteam,   ///< a few seconds after Steam was asked
  late,      ///< a minute after, when it has been started directly too
  atLast,    ///< 145 s after Steam was asked, five before the wait ends
  directly,  ///< only when it is started itself
  never,
  running,   ///< it runs already
  locked,    ///< it comes up, and may not be watched
};

/// LiveSplit and its server.
enum class Timer {
  none,       ///< the settings name none
  ended,      ///< it comes up and answers as after the run
  closed,     ///< it comes up, its server is not started
  running,    ///< it runs already and answers as before the run
  noTime,     ///< it answers "-" to every question for a time
  silent,     ///< it connects and stays silent until the player closes it
  missing,    ///< its program is not there
};

enum class Card { none, quick, slow, broken };
enum class Mod { noPackage, same, missing, incomplete };
enum class Steam { registry, none, noAccount };

/// A player's machine, and what happens on it: by default, a run that is accepted.
struct World {
  std::string name = "happy";
  std::string argument = {};        ///< of the launcher: a side mode
  machine::CodePage page = machine::CodePage::western;
  std::string root = "C:\\kov";     ///< launcher, data, LiveSplit, package: below this folder
  std::string server = "http://race.example";  ///< as the settings have it
  std::string player = "runner";
  std::string difficulty = "normal";
  std::string site = {};
  bool hasIni = true;
  bool namesData = true;            ///< the settings have the keys that are required
  bool dryrun = false;
  bool timerFlag = false;           ///< timer=1
  bool namesGame = false;           ///< the settings name the game, which else is searched
  bool hasGame = true;
  int zoneMinutes = 480;
  Race race = Race::accepts;
  bool sendsToken = true;
  std::vector<Plays> plays = {Plays::finished};  ///< game after game, then nothing
  Starts starts = Starts::bySteam;
  Timer timer = Timer::ended;
  Card card = Card::quick;
  Mod mod = Mod::same;
  Steam steam = Steam::registry;
  bool hasDataFolder = true;
  bool dataIsReadOnly = false;      ///< nothing can be created in the data folder
  bool diskIsFull = false;
  bool queued = false;              ///< a finished run waits in the queue
  bool oldReceipt = false;          ///< an earlier run's receipt was never delivered
  bool savedToken = false;

  // Texts that replace what the world would have, for tests and fuzzers.
  std::optional<std::string> result = {};     ///< what the first game writes
  std::optional<std::string> reply = {};      ///< to every submission
  std::optional<std::string> timerReply = {}; ///< to every question for a time
  std::optional<std::string> timerPhase = {}; ///< to the question for the phase
  std::optional<std::string> libraries = {};  ///< libraryfolders.vdf
  std::optional<std::string> users = {};      ///< loginusers.vdf
  std::string iniHead = {};                   ///< before the settings
  std::string iniTail = {};                   ///< after them
};

/// The dozen worlds that stand for the cases of the player guide, each by its name.
[[nodiscard]] std::vector<World> namedWorlds();
[[nodiscard]] World namedWorld(std::string_view name);

/// The world's name as a part of a test's name.
[[nodiscard]] std::string testName(const World& world);

/// The bytes of the receipt of a finished run with this seed.
[[nodiscard]] std::string receiptOf(std::string_view seed);

/// The lines of a text with CR LF, without their ends.
[[nodiscard]] std::vector<std::string> linesOf(std::string_view text);

/// How a run can be lost although nothing is wrong with the launcher, as docs/limits.md has
/// it under "Where a finished run can be lost or doubled".
enum class Loss {
  overwritten,     ///< the next run overwrote the receipt before there was a copy
  modOverwritten,  ///< the mod replaced its own result file, which is never copied
  hidden,          ///< a receipt without a copy went with an older result of the mod
};

/// A world put up on a machine, and the race server that goes with it.
class Scene {
 public:
  explicit Scene(const World& world);

  /// Runs the launcher with the world's argument, or with another; the exit code.
  int run() { return run(world.argument); }
  int run(const std::string& argument);

  [[nodiscard]] std::string app() const { return world.root + "\\app"; }
  [[nodiscard]] std::string data() const { return world.root + "\\data"; }
  [[nodiscard]] std::string receipt() const { return world.root + "\\receipt.json"; }
  [[nodiscard]] std::string gameExe() const;
  [[nodiscard]] std::string gameFolder() const;
  /// The log's lines, of all runs, without their line ends.
  [[nodiscard]] std::vector<std::string> log() const;
  /// A file of the data folder.
  [[nodiscard]] std::optional<std::string> dataFile(std::string_view name) const;

  /// Whether the server has taken a run, and how often.
  [[nodiscard]] int accepted(const std::string& seed) const;
  /// Whether a run's whole receipt lies where a later start or the player finds it.
  [[nodiscard]] bool isInReceipt(const std::string& seed) const;
  [[nodiscard]] bool isQueued(const std::string& seed) const;
  [[nodiscard]] bool isArchived(const std::string& seed) const;

  World world;
  machine::Machine machine;
  std::map<std::string, std::string> finished;  ///< receipts of finished runs, by seed
  std::map<std::string, Loss> losses;           ///< runs that may be lost, by seed
  std::vector<std::string> results;             ///< all that the game wrote, in its order

 private:
  void putIni();
  void putSteam();
  void putGame();
  void putTimer();
  void putMod();
  void putCard();
  void putRace();
  void playGame(unsigned long process);
  void writeResult(Plays plays, const std::string& seed, const std::string& result);
  void write(const std::string& path, const std::string& bytes, Loss loss);
  machine::Reply answer(const machine::Request& request);
  void accept(const std::string& seed);
  [[nodiscard]] std::string ansi(std::string_view text) const;
  [[nodiscard]] bool holds(std::string_view folder, const std::string& seed) const;

  std::map<std::string, int> accepted_;
  std::size_t games_ = 0;
  std::int64_t startedAt_ = 0;  ///< of the last run of the launcher
};

}  // namespace worlds
