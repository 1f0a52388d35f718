#include "core/result_card.h"

#include "core/file_io.h"
#include "core/log.h"
#include "core/paths.h"

namespace launcher {
namespace {

constexpr unsigned kResultCardLimitMs = 15000;

std::wstring cardPath() {
  const std::wstring program = programPathWide();
  return program.substr(0, program.rfind(L'\\') + 1) + L"kov_result.exe";
}

void openProfileOnce(const Settings& settings, const std::string& token) {
  if (token.empty()) return;
  const std::string flag = inDataFolder(settings.data, kProfileFlagFile);
  if (opensForReading(flag)) return;
  // The built-in site, whatever the "site" line says: only a code that has just come uses that.
  openInBrowser(profileAddress(kBuiltInSite, token));
  writeWholeFile(flag, "1");
  logLine("opened profile page (fallback path)");
}

}  // namespace

std::optional<Process> startProgressCard(const Settings& settings,
                                         const std::string& programFolder) {
  const std::string card = programFolder + "kov_result.exe";
  if (!pathExists(card)) return std::nullopt;
  const std::string stateFile = inDataFolder(settings.data, kUploadStateFile);
  return startProcess(progressCardCommandLine(card, stateFile)).process;
}

void showResult(const Settings& settings, ResultKind kind, const UploadOutcome& outcome,
                const std::string& runText) {
  const std::string message = playerMessage(kind, runText);
  const std::wstring card = cardPath();
  if (!pathExistsWide(card)) {
    showPlainMessage(message);
    return;
  }
  openProfileOnce(settings, outcome.profileToken);
  logLine("result card: kind=%s ok=%d", kindWord(kind), kind == ResultKind::ok ? 1 : 0);
  const StartResult start =
      startProcessWide(L"\"" + card + L"\"" + utf8ToWide(resultCardArguments(kind, outcome)));
  if (!start.process) {
    logLine("result card CreateProcess failed (err %lu)", start.error);
    showPlainMessage(message);
    return;
  }
  start.process->waitForEnd(kResultCardLimitMs);
}

void openProfilePage(const std::string& token) {
  // The built-in site here too.
  openInBrowser(token.empty() ? std::string(kBuiltInSite) + "/profile"
                              : profileAddress(kBuiltInSite, token));
}

}  // namespace launcher
