#pragma once

#include <filesystem>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "core/paths.h"
#include "rehearsal/stage/files.h"
#include "rehearsal/stage/launcher_run.h"
#include "rehearsal/stage/message_boxes.h"
#include "rehearsal/stage/process.h"
#include "rehearsal/stage/race_server.h"
#include "rehearsal/stage/registry.h"
#include "rehearsal/stage/samples.h"
#include "rehearsal/stage/scripts.h"
#include "rehearsal/stage/text.h"
#include "rehearsal/stage/timeline.h"
#include "rehearsal/stage/timer_server.h"

namespace stage {

/// The settings of a launcher.ini in their order; a key may stand twice.
using Ini = std::vector<std::pair<std::string, std::string>>;

/// The player's machine of one test or scene: one folder, nothing outside of it but registry
/// values (Steam's and the browser's, below Wine also how windows are managed), which are put
/// back.
///
///     <root>\<name>\ holds
///       app\      launcher.exe, launcher.ini, launcher.log, kov_result.exe (when installed)
///       data\     the data folder
///       local\    LOCALAPPDATA of the launcher
///       steam\    steam.exe, config\, steamapps\ (a library too)
///       lib2\     a second Steam library
///       ls\       LiveSplit.exe, settings.cfg, halvorn.lsl, race.lss
///       pkg\      the player package of the race mod
///       bin\      browser.exe, the parts of the scripts
///       timeline.txt
///
/// <root> is the environment variable KOV_STAGE_ROOT, or %TEMP%\kov-stage. A folder of the
/// same name that an earlier run left is removed first. A new stage has app\ with
/// launcher.exe (no settings), an empty data\ and local\, and no Steam: SteamPath is taken
/// out of the registry for the stage's life. Everything else is put up by the calls below, so
/// a test puts up what it needs and no more:
///
///     stage::Stage machine("upload");
///     stage::RaceServer server;
///     machine.writeReceipt(stage::finishedRun().text());
///     machine.writeIni({{"server", server.url()}});
///     const stage::RunResult run = machine.runLauncher("--upload");
///
/// Where launcher.exe and the stand-ins come from stands at builtLauncher() and
/// standInsFolder() (files.h). Paths of a stage are short, ASCII and fit into 260 characters.
///
/// At the end every program that still runs from below the folder is ended, the registry is
/// put back and the folder is removed, unless keepFolder() was called or KOV_STAGE_KEEP is
/// set. The stage throws std::runtime_error when it cannot put something up.
class Stage {
 public:
  explicit Stage(std::string_view name);
  ~Stage();
  Stage(const Stage&) = delete;
  Stage& operator=(const Stage&) = delete;

  void keepFolder(bool keep = true) { keep_ = keep; }

  // Places -------------------------------------------------------------------------------

  [[nodiscard]] const std::filesystem::path& root() const { return root_; }
  [[nodiscard]] std::filesystem::path app() const { return root_ / "app"; }
  [[nodiscard]] std::filesystem::path launcher() const { return app() / "launcher.exe"; }
  [[nodiscard]] std::filesystem::path log() const { return app() / "launcher.log"; }
  [[nodiscard]] std::filesystem::path data() const { return root_ / "data"; }
  [[nodiscard]] std::filesystem::path local() const { return root_ / "local"; }
  [[nodiscard]] std::filesystem::path receipt() const { return root_ / "receipt.json"; }
  [[nodiscard]] std::filesystem::path modResult() const { return data() / launcher::kModResultFile; }
  [[nodiscard]] std::filesystem::path steamFolder() const { return root_ / "steam"; }
  [[nodiscard]] std::filesystem::path steamExe() const { return steamFolder() / "steam.exe"; }
  [[nodiscard]] std::filesystem::path secondLibrary() const { return root_ / "lib2"; }
  [[nodiscard]] std::filesystem::path liveSplitFolder() const { return root_ / "ls"; }
  [[nodiscard]] std::filesystem::path liveSplitExe() const;
  [[nodiscard]] std::filesystem::path splits() const { return liveSplitFolder() / "race.lss"; }
  [[nodiscard]] std::filesystem::path package() const { return root_ / "pkg"; }
  /// The game's executable inside a library folder.
  static std::filesystem::path gameExeIn(const std::filesystem::path& library);
  /// Where installGame() put the game last; before that, its place in the second library.
  [[nodiscard]] std::filesystem::path gameExe() const { return gameExe_; }
  [[nodiscard]] std::filesystem::path gameFolder() const { return gameExe_.parent_path(); }
  /// The stage's timeline. Hand it to servers and watchers that shall write into it.
  [[nodiscard]] const Timeline& timeline() const { return timeline_; }

  // Launcher -----------------------------------------------------------------------------

  /// Settings that name this stage's places: receipt, data, steam and game left out (to be
  /// found), appid, player, difficulty and the server; livesplit, livesplit_lss and
  /// install_from when their programs and files have been put up.
  [[nodiscard]] Ini standardIni(std::string_view serverUrl) const;

  /// Writes launcher.ini: one "key=value" line each, CR LF. receipt and data are put in front
  /// when the list names neither.
  void writeIni(const Ini& settings);
  /// Writes these bytes as launcher.ini.
  void writeRawIni(std::string_view bytes);

  /// Runs launcher.exe to its end. `arguments` is the raw text after the quoted program
  /// path ("--upload"), UTF-8.
  RunResult runLauncher(std::string_view arguments = {}, RunOptions options = {});
  /// Starts launcher.exe and returns at once.
  LauncherRun startLauncher(std::string_view arguments = {}, RunOptions options = {});

  /// The bytes of launcher.log, all runs.
  [[nodiscard]] std::string logBytes() const;
  /// A file of the data folder ("upload.state"); nothing when it is not there.
  [[nodiscard]] std::optional<std::string> dataFile(std::string_view name) const;
  /// All files of the data folder (see listFolder).
  [[nodiscard]] std::vector<std::string> dataFiles() const { return listFolder(data()); }

  void writeReceipt(std::string_view bytes);    ///< receipt()
  void writeModResult(std::string_view bytes);  ///< modResult()

  // Steam and the game -------------------------------------------------------------------

  /// SteamPath in the registry: this text exactly, or the stage's Steam folder with forward
  /// slashes and lower case, as the real client writes it.
  void setSteamPath(std::string_view text);
  void setSteamPath();
  /// steam.exe with a script, SteamPath, and an empty steamapps folder. Without a `game` in
  /// the script it starts gameExe() as it is at this moment.
  void installSteam(SteamScript script = {});
  /// Writes a new script for an installed steam.exe.
  void setSteam(SteamScript script);
  /// steamapps\libraryfolders.vdf with the Steam folder and the given libraries (by default
  /// the second library).
  void writeLibraryFolders(LibraryFileGeneration generation = LibraryFileGeneration::current,
                           TextForm form = {});
  void writeLibraryFolders(const std::vector<std::filesystem::path>& libraries,
                           LibraryFileGeneration generation = LibraryFileGeneration::current,
                           TextForm form = {});
  void writeRawLibraryFolders(std::string_view bytes);
  /// config\loginusers.vdf.
  void writeLoginUsers(const std::vector<SteamAccount>& accounts = {SteamAccount{}},
                       TextForm form = {});
  void writeRawLoginUsers(std::string_view bytes);

  /// The game in a library folder (the second library by default) with a script.
  void installGame(GameScript script = {});
  void installGame(const std::filesystem::path& library, GameScript script);
  /// Writes a new script for the installed game.
  void setGame(GameScript script);
  /// A script in which the game waits for the launcher to watch it and writes this receipt.
  [[nodiscard]] GameScript playsRun(std::string_view receiptText) const;
  /// Starts the game by hand, as a player who does not wait for the launcher. Process id.
  std::uint32_t startGame();
  /// Ends a game that stays (GameScript::untilEnded).
  void endGame();

  /// The game's required mod files, as an earlier installation left them.
  void installMod();
  /// The player package: the same files.
  void writePackage();

  // LiveSplit, card, browser -------------------------------------------------------------

  /// LiveSplit.exe with a script, settings.cfg that names another layout and opens race.lss,
  /// halvorn.lsl and race.lss. It does not run yet.
  void installLiveSplit(LiveSplitScript script = {});
  void setLiveSplit(LiveSplitScript script);
  /// Starts it by hand, as a player does, and waits until its server listens (when its
  /// script says so). Process id.
  std::uint32_t startLiveSplit();
  /// Ends every LiveSplit.exe of this stage.
  void endLiveSplit();

  /// The recording kov_result.exe beside the launcher.
  void installCard(CardScript script = {});
  /// The same, which also shows the built card as the player sees it.
  void installShowingCard(CardScript script = {});

  /// The real kov_result.exe that was built beside the launcher.
  void installBuiltCard();

  /// The companion kov_check.exe that was built beside the launcher. Its path.
  std::filesystem::path installCheck();

  /// Makes the recorder the user's browser for http and https. Timeline: "browser open"
  /// (the URL). Windows lets only the user choose the browser (the choice is guarded
  /// by a hash): there, pick the stage's browser.exe in the system's settings first, or the
  /// real browser opens and nothing is recorded.
  void installBrowser();
  /// Every URL opened so far. A browser starts on its own time: wait with
  /// timeline().waitFor("browser", "open") first when one must come. Throws
  /// std::runtime_error "needs a person: ..." on a Windows that opens another browser.
  [[nodiscard]] std::vector<std::string> openedUrls() const;

  // The whole machine --------------------------------------------------------------------

  /// Steam in the registry, the game in the second library playing a finished run (754.560 s),
  /// the player package and the mod installed from it, the persona 竞速玩家, LiveSplit
  /// installed but not running (it answers NotRunning once, then Ended with 754.6 s), card and
  /// browser, and the standard settings for this server.
  void putUpStandardMachine(std::string_view serverUrl);

  /// Ends every program that runs from below the stage's folder.
  void endPrograms();

  /// Copies one of the built stand-ins ("browser.exe", "probe.exe") to a file.
  static void copyStandIn(std::string_view name, const std::filesystem::path& target);

 private:
  [[nodiscard]] std::filesystem::path bin() const { return root_ / "bin"; }
  [[nodiscard]] std::filesystem::path gameStopFile() const { return bin() / "game.stop"; }
  [[nodiscard]] std::filesystem::path liveSplitStopFile() const { return bin() / "timer.stop"; }
  static void writeModFiles(const std::filesystem::path& folder);

  std::filesystem::path root_;
  std::filesystem::path gameExe_;
  Timeline timeline_;
  RegistryKeeper registry_;
  bool liveSplitListens_ = false;
  bool keep_ = false;
};

}  // namespace stage
