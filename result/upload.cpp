#include "result/upload.h"

#include <utility>

#include "core/file_io.h"
#include "core/log.h"
#include "core/paths.h"
#include "core/platform.h"
#include "core/settings_file.h"
#include "core/text.h"
#include "livesplit/client.h"
#include "result/run_check.h"
#include "server/http.h"
#include "server/server_text.h"
#include "server/skip_report.h"
#include "steam/discovery.h"

namespace launcher {
namespace {

/// The file whose text is submitted.
struct ResultFile {
  std::string path;
  bool isModResult = false;  ///< it is not the receipt that the settings name
};

/// A run that may be submitted.
struct CheckedRun {
  Receipt receipt;  ///< as it is submitted
  std::string difficulty;
};

/// The first of three times that LiveSplit is asked for its time; crossCheck() and
/// chooseTime() each ask again, because it may still run.
void logProbe() {
  double seconds = 0.0;
  if (livesplitReadTime(seconds)) {
    logLine("livesplit probe ok: %.2f", seconds);
  } else {
    logLine("livesplit probe failed (server not started?)");
  }
}

ResultFile chooseResultFile(const Settings& settings) {
  const std::string modResult = modResultPath(settings.data);
  if (!opensForReading(modResult)) return {settings.receipt, false};
  logLine("using kovw_result.json (in-game timer)");
  // The paths' texts decide: a receipt setting that names this very file stays a receipt.
  return {modResult, modResult != settings.receipt};
}

void reject(const Settings& settings, const Rejection& rejection) {
  logLine("%s", rejection.logLine);
  skipReport(settings, rejection.reason);
}

/// True exactly when LiveSplit says that its run has ended.
bool livesplitHasEnded() {
  const std::string phase = livesplitCommand("getcurrenttimerphase");
  logLine("livesplit phase: %s", phase.empty() ? "(none)" : phase.c_str());
  return phase == "Ended";
}

/// Logs LiveSplit's time beside the last split's; never decides anything.
void crossCheck(const Receipt& receipt) {
  constexpr double kEarlyStopSeconds = -2.0;
  const double lastSplit = receipt.lastSplitSeconds();
  double livesplit = 0.0;
  if (!livesplitReadTime(livesplit) || !(lastSplit > 0.0)) return;
  const double difference = livesplit - lastSplit;
  logLine("cross-check: livesplit=%.2f lastSplit=%.2f diff=%.2f", livesplit, lastSplit,
          difference);
  if (difference < kEarlyStopSeconds) {
    logLine("WARN: livesplit stopped before last split (likely early stop, review manually)");
  }
}

/// Puts in the time that counts: the mod's own, or LiveSplit's when it has one.
void chooseTime(Receipt& receipt, bool isModResult) {
  if (isModResult) {
    logLine("mod in-game time is authoritative, livesplit only cross-checked");
    return;
  }
  double seconds = 0.0;
  if (!livesplitReadTime(seconds)) {
    logLine("livesplit time unavailable, using receipt time");
    return;
  }
  const std::optional<std::string> oldTotal = receipt.replaceTotal(seconds);
  if (!oldTotal) return;
  logLine("livesplit time used: %.2f (receipt said %s)", seconds, oldTotal->c_str());
}

std::string settleDifficulty(const Settings& settings, const Receipt& receipt) {
  const std::optional<std::string> written = receipt.gameDifficulty();
  if (!written) return settings.difficulty.empty() ? "normal" : settings.difficulty;
  logLine("difficulty from game (receipt): %s", written->c_str());
  return *written;
}

std::optional<CheckedRun> checkRun(const Settings& settings, const ResultFile& file) {
  std::optional<std::string> text = readFile(file.path);
  if (!text) {
    reject(settings, kNoReceipt);
    return std::nullopt;
  }
  Receipt receipt(std::move(*text));
  if (const auto rejection = receipt.reject(file.isModResult)) {
    reject(settings, *rejection);
    return std::nullopt;
  }
  const bool phaseEnded = livesplitHasEnded();
  const EndingSplit ending = receipt.endingSplit();
  if (!phaseEnded && !ending.found) {
    reject(settings, kNoEndingMap);
    return std::nullopt;
  }
  const std::string inferred = inferEnding(ending.map, receipt.splitCount());
  receipt.settleEnding(inferred);
  logLine("ending inferred from splits: %s (map=%s t=%.2f)", inferred.c_str(),
          ending.map.c_str(), ending.seconds);
  crossCheck(receipt);
  chooseTime(receipt, file.isModResult);
  std::string difficulty = settleDifficulty(settings, receipt);
  return CheckedRun{std::move(receipt), std::move(difficulty)};
}

/// Keeps the reply's login code and shows the profile page the first time one comes.
void takeToken(const Settings& settings, UploadOutcome& outcome) {
  const std::optional<std::string> token = replyToken(outcome.reply);
  if (!token) return;
  outcome.profileToken = *token;
  writeWholeFile(inDataFolder(settings.data, kTokenFile), *token);
  logLine("profile token saved");  // whether or not the file was written
  const std::string flag = inDataFolder(settings.data, kProfileFlagFile);
  if (opensForReading(flag)) return;
  const std::string site = siteBaseFrom(readWholeFile(settings.file), kBuiltInSite);
  openInBrowser(profileAddress(site, *token));
  writeWholeFile(flag, "1");
  logLine("opened profile page (first time)");
}

bool submitRun(const Settings& settings, const CheckedRun& run, UploadOutcome& outcome) {
  const std::string player = playerName(settings);
  const std::string steamId = detectSteamAccount().steamId;
  const std::string payload = submissionPayload(player, steamId, run.difficulty, run.receipt);
  std::string reply;
  if (!httpPostJson(stripTrailingSlashes(settings.server) + "/submit", payload, reply)) {
    // Said before, and elsewhere: savePending() does it later, for a finished run alone.
    logLine("upload failed (server unreachable), saved to pending queue");
    return false;
  }
  outcome.reply = std::move(reply);
  takeToken(settings, outcome);
  readOutcome(outcome, outcome.reply, run.difficulty, run.receipt.text());
  logLine("upload response: %s", outcome.reply.c_str());
  return acceptsRun(outcome.reply);
}

}  // namespace

bool uploadRun(const Settings& settings, UploadOutcome& outcome) {
  logProbe();
  if (settings.server.empty()) {
    logLine("no server configured, upload skipped");
    return false;
  }
  const ResultFile file = chooseResultFile(settings);
  const std::optional<CheckedRun> run = checkRun(settings, file);
  if (!run || !submitRun(settings, *run, outcome)) return false;
  if (file.isModResult) deleteFile(file.path);
  deleteFile(settings.receipt);
  return true;
}

}  // namespace launcher
