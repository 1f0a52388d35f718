#include "check/report.h"

#include "check/antivirus_win.h"
#include "check/data_rows.h"
#include "check/http_date.h"
#include "check/livesplit_rows.h"
#include "check/mod_rows.h"
#include "check/place_rows.h"
#include "check/queue_rows.h"
#include "check/server_question_win.h"
#include "check/server_rows.h"
#include "check/settings_rows.h"
#include "check/steam_rows.h"
#include "check/system_win.h"
#include "check/timer_question_win.h"
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

}  // namespace launcher::check
