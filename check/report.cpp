#include "check/report.h"

#include <algorithm>

#include "check/antivirus.h"
#include "check/data_rows.h"
#include "check/http_date.h"
#include "check/livesplit_rows.h"
#include "check/log_runs.h"
#include "check/mod_rows.h"
#include "check/notes.h"
#include "check/place_rows.h"
#include "check/queue_rows.h"
#include "check/runs.h"
#include "check/server_question.h"
#include "check/server_rows.h"
#include "check/settings_rows.h"
#include "check/steam_rows.h"
#include "check/support.h"
#include "check/system.h"
#include "check/timer_question.h"
#include "check/utf8.h"
#include "core/file_io.h"
#include "core/paths.h"
#include "core/platform.h"
#include "core/result_text.h"
#include "core/text.h"
#include "livesplit/start.h"
#include "server/http.h"
#include "server/pending_queue.h"
#include "server/server_text.h"
#include "steam/discovery.h"
#include "steam/mod_files.h"
#include "steam/mod_install.h"

namespace launcher::check {
namespace {

constexpr unsigned kTimerLimitMs = 3000;
constexpr std::size_t kLogBytes = 16U << 20;
constexpr int kRunsOfSupport = 3;

/// A path or name of either encoding, for showing.
std::string shown(const std::string& bytes) { return readable(bytes, ansiToUtf8); }

std::string fileNameOf(const std::string& path) {
  return path.substr(folderWithBackslash(path).size());
}

/// As folderWithBackslash(), which returns a path without a backslash whole.
bool hasFolder(const std::string& path) { return path.find('\\') != std::string::npos; }

PlaceFacts placeFacts(const Machine& machine) {
  const std::wstring& folder = machine.programFolderWide;
  PlaceFacts facts;
  facts.folder = wideToUtf8(folder);
  facts.temporaryFolder = wideToUtf8(temporaryFolder());
  for (const auto& [name, value] :
       {std::pair(L"ProgramFiles", &facts.programFiles),
        std::pair(L"ProgramFiles(x86)", &facts.programFilesX86)}) {
    *value = environmentValue(name);
    if (!value->empty()) *value += "\\";
  }
  const std::optional<std::string> ansi = toAnsi(folder);
  facts.inAnsi = ansi.has_value();
  facts.ansiBytes = ansi ? ansi->size() : 0;
  facts.hasLauncher = pathExistsWide(folder + L"launcher.exe");
  facts.hasCard = pathExistsWide(folder + L"kov_result.exe");
  for (const wchar_t* program : kPrograms) {
    facts.isMarked = facts.isMarked || isMarkedAsDownloaded(folder + program);
  }
  return facts;
}

Leftover leftoverAt(const std::string& path) {
  const std::optional<std::string> text = readFile(path);
  if (!text || text->empty()) return Leftover::none;
  return isFinishedRun(*text) ? Leftover::finished : Leftover::unfinished;
}

DataFacts dataFacts(const Machine& machine) {
  const std::string& data = machine.settings.data;
  const std::string& receipt = machine.settings.receipt;
  DataFacts facts;
  facts.isSet = !data.empty();
  if (!facts.isSet) return facts;
  facts.data = shown(data);
  facts.ansiBytes = data.size();
  facts.exists = pathExists(data);
  facts.isFile = facts.exists && !isFolder(data);
  if (facts.exists) {
    facts.canWrite = canWriteInto(data);
    facts.freeBytes = freeBytes(data);
  } else {
    facts.canCreate = canCreateFolder(data);
  }
  const std::string receiptFolder = parentFolder(receipt);
  facts.receiptFolder = shown(receiptFolder);
  // The data folder itself comes with the start.
  facts.receiptFolderExists =
      !hasFolder(receipt) || pathExists(receiptFolder) || receiptFolder == data;
  facts.modResult = leftoverAt(inDataFolder(data, kModResultFile));
  facts.receipt = receipt.empty() ? Leftover::none : leftoverAt(receipt);
  facts.receiptFile = shown(receipt);
  return facts;
}

SteamFacts steamFacts(const Machine& machine) {
  return {shown(machine.settings.steam), pathExists(machine.settings.steam),
          chooseAccount(readLoginUsers()), shown(machine.settings.player)};
}

GameFacts gameFacts(const Machine& machine) {
  const std::string& game = machine.settings.game;
  GameFacts facts;
  facts.game = shown(game);
  facts.written = shown(machine.gameSetting);
  facts.exists = machine.gameExists;
  facts.searched = machine.gameSearched;
  facts.hasRightName = isSameName(fileNameOf(game), wideToUtf8(kGameImageName));
  facts.isFolder = isFolder(game);
  facts.runs = findProcessByName(kGameImageName) != 0;
  facts.steamExists = pathExists(machine.settings.steam);
  return facts;
}

std::vector<std::string> asTexts(const std::vector<const char*>& names) {
  return {names.begin(), names.end()};
}

ModFacts modFacts(const Machine& machine) {
  const std::string& package = machine.settings.install_from;
  const std::string gameFolder = parentFolder(machine.settings.game);
  ModFacts facts;
  facts.isSet = !package.empty();
  facts.gameExists = machine.gameExists;
  facts.package = shown(package);
  facts.packageExists = pathExists(package);
  facts.missingInPackage = asTexts(missingModFiles(package));
  if (!machine.gameExists) return facts;
  facts.missingInGame = asTexts(missingModFiles(gameFolder));
  for (const char* file : kRequiredModFiles) {
    const std::optional<std::uint64_t> there = fileSize(gameFolder + file);
    const std::optional<std::uint64_t> ours = fileSize(package + file);
    if (there && ours && *there != *ours) facts.differingInGame.emplace_back(file);
  }
  return facts;
}

ServerStartup startupOf(const Machine& machine) {
  return serverStartup(readFile(timerConfigPath(machine)));
}

LivesplitFacts livesplitFacts(const Machine& machine) {
  const std::string& program = machine.livesplit;
  LivesplitFacts facts;
  facts.isSet = !machine.settings.livesplit.empty();
  facts.program = shown(program);
  facts.exists = pathExists(program);
  facts.isUsualPlace = program != machine.settings.livesplit;
  facts.hasSplitsSetting = !machine.settings.livesplit_lss.empty();
  facts.splits = shown(machine.settings.livesplit_lss);
  facts.splitsExist = pathExists(machine.settings.livesplit_lss);
  facts.hasLayout = pathExists(parentFolder(program) + "\\halvorn.lsl");
  facts.startup = startupOf(machine);
  facts.runs = findProcessByName(kLivesplitImageName) != 0;
  return facts;
}

std::vector<QueuedFile> queuedFiles(const Machine& machine) {
  std::vector<QueuedFile> files;
  if (machine.settings.data.empty()) return files;
  QueueListing queue(machine.settings.data);
  for (std::string path = queue.next(); !path.empty(); path = queue.next()) {
    files.push_back({shown(fileNameOf(path)), isSendable(readWholeFile(path))});
  }
  return files;
}

std::size_t archivedReceipts(const Machine& machine) {
  std::size_t count = 0;
  FolderListing listing(inDataFolder(machine.settings.data, kReceiptsFolder) + "\\*.json");
  while (const FolderEntry* entry = listing.next()) count += entry->isFolder ? 0 : 1;
  return count;
}

TimerFacts askTimerFacts(const Machine& machine) {
  TimerFacts facts;
  facts.isSet = !machine.settings.livesplit.empty();
  facts.willBeStarted = !machine.settings.livesplit_lss.empty() && pathExists(machine.livesplit);
  facts.runs = findProcessByName(kLivesplitImageName) != 0;
  facts.startup = startupOf(machine);
  facts.holder = timerPortHolder();
  const TimerReply phase = askTimer("getcurrenttimerphase", kTimerLimitMs);
  facts.silent = phase.silent;
  facts.phase = phase.text;
  // Asked where the answer is known to be "-" or nothing at all, and only of LiveSplit.
  if (facts.phase == "NotRunning") {
    facts.silentOnSplit = askTimer("getlastsplittime", kTimerLimitMs).silent;
  }
  return facts;
}

ServerFacts askServerFacts(const Machine& machine) {
  ServerFacts facts;
  const std::string base = stripTrailingSlashes(machine.settings.server);
  facts.isSet = !base.empty();
  if (!facts.isSet) return facts;
  const std::string url = base + "/week/current";
  facts.server = shown(base);
  facts.reached = httpGet(url, facts.week);
  const ServerAnswer answer = askServerOnce(url);
  facts.failure = answer.failure;
  facts.error = answer.error;
  facts.status = answer.status;
  facts.location = answer.location;
  facts.serverTime = httpDateSeconds(answer.date);
  facts.ownTime = secondsNow();
  return facts;
}

std::string logPath(const Machine& machine) { return machine.programFolder + "launcher.log"; }

/// The files of a folder that match, whole.
std::vector<KeptFile> keptFiles(const std::string& folder) {
  std::vector<KeptFile> files;
  FolderListing listing(folder + "\\*.json");
  while (const FolderEntry* entry = listing.next()) {
    if (entry->isFolder) continue;
    const std::string path = folder + "\\" + entry->name;
    const auto after = std::find_if(files.begin(), files.end(), [entry](const KeptFile& file) {
      return file.name > entry->name;
    });
    files.insert(after, {entry->name, path, readWholeFile(path)});
  }
  return files;
}

RunFacts runFacts(const Machine& machine) {
  const std::string& data = machine.settings.data;
  const std::string& receipt = machine.settings.receipt;
  RunFacts facts;
  facts.log = readFileEnd(logPath(machine), kLogBytes).value_or("");
  facts.launcherRuns = findProcessByName(L"launcher.exe") != 0;
  if (data.empty()) return facts;
  facts.archived = keptFiles(inDataFolder(data, kReceiptsFolder));
  facts.queued = keptFiles(inDataFolder(data, kPendingFolder));
  if (std::optional<std::string> bytes = readFile(receipt)) {
    facts.receipt = KeptFile{fileNameOf(receipt), receipt, std::move(*bytes)};
  }
  facts.launchState = readWholeFile(inDataFolder(data, kLaunchStateFile));
  facts.notes = readNotes(data);
  return facts;
}

// Support ----------------------------------------------------------------------------------

/// Every saved code: where a start looks for one, and where one is saved.
std::vector<std::string> savedCodes(const Machine& machine) {
  std::vector<std::string> codes;
  for (const std::string& path :
       {machine.programFolder + kTokenFile, machine.programFolder + "..\\data\\" + kTokenFile,
        inDataFolder(machine.settings.data, kTokenFile)}) {
    for (const std::string& code : {readWholeFile(path), trimLineEnd(readWholeFile(path))}) {
      if (code.empty()) continue;
      codes.push_back(code);
      codes.push_back(shown(code));
    }
  }
  return codes;
}

std::vector<std::string> userNames() {
  const std::string profile = environmentValue(L"USERPROFILE");
  return {environmentValue(L"USERNAME"), fileNameOf(profile)};
}

std::string listOf(const std::string& folder) {
  std::string text = shown(folder) + "\n";
  FolderListing listing(folder + "\\*");
  if (!listing.started()) return text + "  (not there)\n";
  while (const FolderEntry* entry = listing.next()) {
    if (entry->name == "." || entry->name == "..") continue;
    text += "  " + shown(entry->name);
    text += entry->isFolder ? "\\" : "  " + std::to_string(entry->bytes);
    text += "\n";
  }
  return text;
}

std::string folderLists(const Machine& machine) {
  const Settings& settings = machine.settings;
  std::string text = listOf(machine.programFolder + ".");
  if (!settings.data.empty()) {
    text += listOf(settings.data) + listOf(inDataFolder(settings.data, kReceiptsFolder)) +
            listOf(inDataFolder(settings.data, kPendingFolder));
  }
  if (!settings.install_from.empty()) text += listOf(settings.install_from);
  if (machine.gameExists) text += listOf(parentFolder(settings.game));
  if (!machine.livesplit.empty()) text += listOf(parentFolder(machine.livesplit));
  return text;
}

std::string versions(const Machine& machine) {
  std::string text = "kov_check " KOV_VERSION "\n";
  for (const char* program : {"launcher.exe", "kov_result.exe", "kov_check.exe"}) {
    const std::optional<std::uint64_t> bytes = fileSize(machine.programFolder + program);
    text += std::string(program) + ": " + (bytes ? std::to_string(*bytes) + " bytes" : "missing") +
            "\n";
  }
  return text + "Windows " + windowsVersion() + "\nlanguage " + interfaceLanguageName() +
         "\ncode pages " + std::to_string(ansiCodePage()) + ", " +
         std::to_string(oemCodePage()) + "\n";
}

std::string lastLogLines(const Machine& machine) {
  const std::string log = readFileEnd(logPath(machine), kLogBytes).value_or("");
  return readableLines(std::string_view(log).substr(lastRunsBegin(log, kRunsOfSupport)),
                       ansiToUtf8);
}

void append(Findings& all, const Findings& more) {
  all.insert(all.end(), more.begin(), more.end());
}

}  // namespace

Language interfaceLanguage() {
  return interfaceIsChinese() ? Language::chinese : Language::english;
}

Findings quickFindings(const Machine& machine, Language language) {
  Findings page = placeRows(placeFacts(machine), language);
  append(page, settingsRows(machine.settingsBytes, machine.hasSettingsFile, ansiCodePage(),
                            ansiToUtf8, language));
  append(page, dataRows(dataFacts(machine), language));
  append(page, steamRows(steamFacts(machine), language));
  append(page, gameRows(gameFacts(machine), language));
  append(page, modRows(modFacts(machine), language));
  page.push_back(checkingRow(Question::antivirus, language));
  append(page, livesplitRows(livesplitFacts(machine), language));
  page.push_back(checkingRow(Question::livesplit, language));
  page.push_back(checkingRow(Question::server, language));
  append(page, queueRows(queuedFiles(machine), archivedReceipts(machine), language));
  return page;
}

Findings ask(Question question, const Machine& machine, Language language) {
  switch (question) {
    case Question::antivirus: return antivirusRows(askSecurityCenter(), language);
    case Question::livesplit: return timerRows(askTimerFacts(machine), language);
    case Question::server: break;
  }
  return serverRows(askServerFacts(machine), language);
}

int queuedRuns(const Machine& machine) {
  int count = 0;
  for (const QueuedFile& file : queuedFiles(machine)) count += file.sendable ? 1 : 0;
  return count;
}

RunRows readRuns(const Machine& machine, Language language) {
  return runRows(runFacts(machine), language);
}

std::string supportText(const Machine& machine, const Findings& page, const RunRows& runs,
                        Language language) {
  return supportFile({{"kov_support.txt", versions(machine)},
                      {say({"赛前检查", "Before the race"}, language), pageText(page, language)},
                      {say({"我的成绩", "My runs"}, language), runsText(runs, language)},
                      {"launcher.ini", readableLines(machine.settingsBytes, ansiToUtf8)},
                      {"launcher.log", lastLogLines(machine)},
                      {say({"文件夹", "Folders"}, language), folderLists(machine)}},
                     {savedCodes(machine), userNames()});
}

}  // namespace launcher::check
