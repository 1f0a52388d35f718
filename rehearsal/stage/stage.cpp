#include "rehearsal/stage/stage.h"

#include <windows.h>
#include <shlwapi.h>

#include <algorithm>
#include <stdexcept>

#include "steam/mod_files.h"

namespace stage {

namespace fs = std::filesystem;

namespace {

constexpr char kSteamKey[] = "Software\\Valve\\Steam";
constexpr char kGameName[] = "Backrooms-Win64-Shipping.exe";

fs::path stagesRoot() {
  if (const auto named = environmentText("KOV_STAGE_ROOT"); named && !named->empty()) {
    return pathOf(*named);
  }
  return fs::temp_directory_path() / "kov-stage";
}

void copyFile(const fs::path& from, const fs::path& to) {
  std::error_code ignored;
  fs::create_directories(to.parent_path(), ignored);
  if (!CopyFileW(from.c_str(), to.c_str(), FALSE)) {
    throw std::runtime_error("cannot copy " + textOf(from) + " to " + textOf(to));
  }
}

/// A program that has just ended may hold its file for a moment; read-only files and
/// folders are a test's doing.
void removeTree(const fs::path& folder) {
  for (int tries = 0; tries < 500; ++tries) {
    std::error_code error;
    fs::remove_all(folder, error);
    if (!pathExists(folder)) return;
    for (fs::recursive_directory_iterator it(folder, error), end; !error && it != end;
         it.increment(error)) {
      const DWORD attributes = GetFileAttributesW(it->path().c_str());
      if (attributes != INVALID_FILE_ATTRIBUTES && (attributes & FILE_ATTRIBUTE_READONLY) != 0) {
        SetFileAttributesW(it->path().c_str(),
                           attributes & ~static_cast<DWORD>(FILE_ATTRIBUTE_READONLY));
      }
    }
    Sleep(20);
  }
}

/// The program with which Windows opens an address of this scheme; empty when none is known.
fs::path openerOf(const wchar_t* scheme) {
  wchar_t program[MAX_PATH] = {};
  DWORD length = MAX_PATH;
  const HRESULT result = AssocQueryStringW(ASSOCF_IS_PROTOCOL, ASSOCSTR_EXECUTABLE, scheme,
                                           L"open", program, &length);
  return SUCCEEDED(result) ? fs::path(program) : fs::path();
}

std::string modFileText(const fs::path& name) {
  if (name.extension() == ".lua") return "-- records the run of the week\n";
  if (name.extension() == ".txt") return "1\n";
  return "MZ: a library of the race mod\n";
}

fs::path scriptOf(fs::path program) { return program.replace_extension(".json"); }

}  // namespace

Stage::Stage(std::string_view name) : root_(stagesRoot() / pathOf(name)) {
  if (name.empty() || name.find_first_of("\\/:.") != std::string_view::npos) {
    throw std::runtime_error("a stage needs a plain name");
  }
  if (pathExists(root_)) endPrograms();
  removeTree(root_);
  if (pathExists(root_)) throw std::runtime_error("cannot remove the old " + textOf(root_));
  for (const fs::path& folder : {app(), data(), local(), bin()}) fs::create_directories(folder);
  timeline_ = Timeline(root_ / "timeline.txt");
  gameExe_ = gameExeIn(secondLibrary());
  copyFile(builtLauncher(), launcher());
  registry_.remove(kSteamKey, "SteamPath");
  // There is no window manager on a stage below Wine, and programs that count on one wait two
  // seconds for it whenever a window closes.
  if (runsUnderWine()) registry_.set("Software\\Wine\\X11 Driver", "Managed", "N");
  // Wine starts its desktop's program with the first window, and that keeps open what whoever
  // started it had open: not a program of this stage, whose files could then not be removed.
  if (runsUnderWine()) (void)GetDesktopWindow();
  const auto keep = environmentText("KOV_STAGE_KEEP");
  keep_ = keep && !keep->empty();
}

Stage::~Stage() {
  endPrograms();
  registry_.restore();
  if (!keep_) removeTree(root_);
}

fs::path Stage::gameExeIn(const fs::path& library) {
  return library / "steamapps" / "common" / "EscapeTheBackrooms" / "EscapeTheBackrooms" /
         "Binaries" / "Win64" / kGameName;
}

fs::path Stage::liveSplitExe() const { return liveSplitFolder() / "LiveSplit.exe"; }

// Launcher ---------------------------------------------------------------------------------

Ini Stage::standardIni(std::string_view serverUrl) const {
  Ini ini = {{"receipt", textOf(receipt())},
             {"data", textOf(data())},
             {"server", std::string(serverUrl)},
             {"appid", "1943950"},
             {"player", "player"},
             {"difficulty", "normal"}};
  if (pathExists(package())) ini.emplace_back("install_from", textOf(package()));
  if (pathExists(liveSplitExe())) {
    ini.emplace_back("livesplit", textOf(liveSplitExe()));
    ini.emplace_back("livesplit_lss", textOf(splits()));
  }
  return ini;
}

void Stage::writeIni(const Ini& settings) {
  const bool ownPlaces =
      std::none_of(settings.begin(), settings.end(), [](const auto& setting) {
        return setting.first == "receipt" || setting.first == "data";
      });
  std::string text;
  if (ownPlaces) {
    text += "receipt=" + textOf(receipt()) + "\r\ndata=" + textOf(data()) + "\r\n";
  }
  for (const auto& [key, value] : settings) text += key + "=" + value + "\r\n";
  writeRawIni(text);
}

void Stage::writeRawIni(std::string_view bytes) { writeFile(app() / "launcher.ini", bytes); }

RunResult Stage::runLauncher(std::string_view arguments, RunOptions options) {
  return startLauncher(arguments, std::move(options)).wait();
}

LauncherRun Stage::startLauncher(std::string_view arguments, RunOptions options) {
  options.environment.try_emplace("LOCALAPPDATA", textOf(local()));
  return {launcher(), arguments, options};
}

std::string Stage::logBytes() const { return readFile(log()).value_or(""); }

std::optional<std::string> Stage::dataFile(std::string_view name) const {
  return readFile(data() / pathOf(name));
}

void Stage::writeReceipt(std::string_view bytes) { writeFile(receipt(), bytes); }

void Stage::writeModResult(std::string_view bytes) { writeFile(modResult(), bytes); }

// Steam and the game -----------------------------------------------------------------------

void Stage::setSteamPath(std::string_view text) { registry_.set(kSteamKey, "SteamPath", text); }

void Stage::setSteamPath() {
  std::string text = replaceAll(textOf(steamFolder()), "\\", "/");
  std::transform(text.begin(), text.end(), text.begin(), [](char c) {
    return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
  });
  setSteamPath(text);
}

void Stage::installSteam(SteamScript script) {
  fs::create_directories(steamFolder() / "steamapps");
  copyStandIn("steam.exe", steamExe());
  setSteam(std::move(script));
  setSteamPath();
}

void Stage::setSteam(SteamScript script) {
  if (script.game.empty()) script.game = gameExe();
  writeFile(scriptOf(steamExe()), scriptText(script, timeline_.file()));
}

void Stage::writeLibraryFolders(LibraryFileGeneration generation, TextForm form) {
  writeLibraryFolders({secondLibrary()}, generation, form);
}

void Stage::writeLibraryFolders(const std::vector<fs::path>& libraries,
                                LibraryFileGeneration generation, TextForm form) {
  std::vector<std::string> folders = {textOf(steamFolder())};
  for (const fs::path& library : libraries) folders.push_back(textOf(library));
  writeRawLibraryFolders(libraryFoldersVdf(folders, generation, form));
}

void Stage::writeRawLibraryFolders(std::string_view bytes) {
  writeFile(steamFolder() / "steamapps" / "libraryfolders.vdf", bytes);
}

void Stage::writeLoginUsers(const std::vector<SteamAccount>& accounts, TextForm form) {
  writeRawLoginUsers(loginUsersVdf(accounts, form));
}

void Stage::writeRawLoginUsers(std::string_view bytes) {
  writeFile(steamFolder() / "config" / "loginusers.vdf", bytes);
}

void Stage::installGame(GameScript script) { installGame(secondLibrary(), std::move(script)); }

void Stage::installGame(const fs::path& library, GameScript script) {
  gameExe_ = gameExeIn(library);
  copyStandIn(kGameName, gameExe_);
  setGame(std::move(script));
}

void Stage::setGame(GameScript script) {
  std::vector<fs::path> parts;
  for (std::size_t i = 0; i < script.writes.size(); ++i) {
    parts.push_back(bin() / ("game-part-" + std::to_string(i + 1)));
    writeFile(parts.back(), script.writes[i].bytes);
  }
  fs::remove(gameStopFile());
  writeFile(scriptOf(gameExe_), scriptText(script, timeline_.file(), parts,
                                           gameStopFile(), data() / launcher::kLaunchStateFile));
}

GameScript Stage::playsRun(std::string_view receiptText) const {
  GameScript script;
  script.waitsForLauncher = true;
  script.writes.push_back({receipt(), std::string(receiptText)});
  return script;
}

std::uint32_t Stage::startGame() { return startDetached(gameExe_, {}, gameFolder()); }

void Stage::endGame() { writeFile(gameStopFile(), ""); }

void Stage::installMod() { writeModFiles(gameFolder()); }

void Stage::writePackage() { writeModFiles(package()); }

void Stage::writeModFiles(const fs::path& folder) {
  for (const char* file : launcher::kRequiredModFiles) {
    const fs::path name = pathOf(file).relative_path();
    writeFile(folder / name, modFileText(name));
  }
}

// LiveSplit, card, browser -----------------------------------------------------------------

void Stage::installLiveSplit(LiveSplitScript script) {
  copyStandIn("LiveSplit.exe", liveSplitExe());
  writeFile(liveSplitFolder() / "settings.cfg",
            liveSplitSettings({"C:\\older.lsl", "C:\\loaded-at-start.lsl"}, textOf(splits())));
  writeFile(liveSplitFolder() / "halvorn.lsl", "<Layout version=\"1.6.1\"></Layout>\n");
  writeFile(splits(), splitsFile());
  setLiveSplit(std::move(script));
}

void Stage::setLiveSplit(LiveSplitScript script) {
  fs::remove(liveSplitStopFile());
  writeFile(scriptOf(liveSplitExe()),
            scriptText(script, timeline_.file(), liveSplitStopFile()));
  liveSplitListens_ = script.listens;
}

std::uint32_t Stage::startLiveSplit() {
  const std::size_t before = timeline_.events("livesplit", "listening").size();
  const std::uint32_t id =
      startDetached(liveSplitExe(), "\"" + textOf(splits()) + "\"", liveSplitFolder());
  if (liveSplitListens_ && !timeline_.waitFor("livesplit", "listening", before + 1)) {
    throw std::runtime_error("the stand-in LiveSplit does not listen");
  }
  return id;
}

void Stage::endLiveSplit() {
  writeFile(liveSplitStopFile(), "");
  for (int tries = 0; tries < 200 && !processesBelow(liveSplitFolder()).empty(); ++tries) {
    Sleep(10);
  }
  for (const RunningProcess& process : processesBelow(liveSplitFolder())) endProcess(process.id);
  fs::remove(liveSplitStopFile());
}

void Stage::installCard(CardScript script) {
  const fs::path card = app() / "kov_result.exe";
  copyStandIn("card_recorder.exe", card);
  writeFile(scriptOf(card), scriptText(script, timeline_.file()));
}

void Stage::installShowingCard(CardScript script) {
  script.shows = bin() / "result_card.exe";
  copyFile(builtLauncher().parent_path() / "kov_result.exe", script.shows);
  installCard(std::move(script));
}

void Stage::installBuiltCard() {
  copyFile(builtLauncher().parent_path() / "kov_result.exe", app() / "kov_result.exe");
}

fs::path Stage::installCheck() {
  const fs::path check = app() / "kov_check.exe";
  copyFile(builtLauncher().parent_path() / "kov_check.exe", check);
  return check;
}

void Stage::installBrowser() {
  const fs::path browser = bin() / "browser.exe";
  copyStandIn("browser.exe", browser);
  writeFile(scriptOf(browser), browserScriptText(timeline_.file()));
  const std::string command = "\"" + textOf(browser) + "\" \"%1\"";
  for (const std::string scheme : {"http", "https"}) {
    const std::string key = "Software\\Classes\\" + scheme;
    registry_.set(key, "URL Protocol", "");
    registry_.set(key + "\\shell\\open\\command", "", command);
    // Wine does not look at the user's classes.
    if (runsUnderWine()) registry_.set("HKLM\\" + key + "\\shell\\open\\command", "", command);
  }
}

std::vector<std::string> Stage::openedUrls() const {
  if (!runsUnderWine() && openerOf(L"http") != bin() / "browser.exe") {
    throw std::runtime_error("needs a person: the stage's browser.exe is not the default browser");
  }
  std::vector<std::string> urls;
  for (Event& event : timeline_.events("browser", "open")) urls.push_back(std::move(event.text));
  return urls;
}

// The whole machine ------------------------------------------------------------------------

void Stage::putUpStandardMachine(std::string_view serverUrl) {
  installGame(playsRun(finishedRun().text()));
  installMod();
  writePackage();
  installSteam();
  writeLibraryFolders();
  writeLoginUsers();
  LiveSplitScript timer;
  timer.phase = "Ended";
  timer.replies["getcurrenttimerphase"] = {"NotRunning", "Ended"};
  timer.finalTime = timer.lastSplit = timer.currentTime = 754.6;
  installLiveSplit(timer);
  installCard();
  installBrowser();
  writeIni(standardIni(serverUrl));
}

void Stage::endPrograms() {
  for (const RunningProcess& process : processesBelow(root_)) endProcess(process.id);
}

void Stage::copyStandIn(std::string_view name, const fs::path& target) {
  copyFile(standInsFolder() / pathOf(name), target);
}

}  // namespace stage
