// Puts up a player's machine and shows kov_check.exe on it, page after page, for the pictures in
// docs/check. Prints a page's name when it can be seen, and turns it after a line of input.

#include <windows.h>
#include <commctrl.h>

#include <cstdio>
#include <filesystem>
#include <functional>
#include <string>

#include "rehearsal/stage/stage.h"

namespace {

namespace fs = std::filesystem;

constexpr char kStart[] = "=== KOV launcher start (build 2026-10-28 13:45) ===\r\n";
constexpr char kDone[] = "=== KOV launcher done ===\r\n";
constexpr int kFirstPageId = 100;
constexpr int kFindingsId = 111;

bool waitUntil(const std::function<bool()>& condition) {
  for (int tries = 0; tries < 3000; ++tries, Sleep(10)) {
    if (condition()) return true;
  }
  return false;
}

std::string archived(const std::string& stamp) {
  return std::string(kStart) + "stage: launching game\r\nreceipt archived: S:\\receipt_" + stamp +
         ".json\r\n";
}

void putDown(const stage::Stage& machine, const char* folder, const std::string& name,
             stage::Receipt receipt, const char* seed) {
  receipt.seed = seed;
  stage::writeFile(machine.data() / folder / name, receipt.text());
}

/// One run of each kind.
void putDownRuns(const stage::Stage& machine) {
  putDown(machine, "receipts", "receipt_20250301_214502.json", stage::finishedRun(), "1");
  putDown(machine, "receipts", "receipt_20250302_203015.json", stage::finishedRun(), "2");
  putDown(machine, "receipts", "receipt_20250303_190144.json", stage::unfinishedRun(), "3");
  putDown(machine, "receipts", "receipt_20250303_194821.json", stage::finishedRun(), "4");
  putDown(machine, "pending", "p_20250303_194822.json", stage::finishedRun(), "4");
  stage::writeFile(
      machine.log(),
      archived("20250301_214502") + archived("20250302_203015") +
          "upload response: {\"accepted\":true,\"rank\":3,\"points\":120}\r\n"
          "stage: upload done (ok=1)\r\n" +
          kDone + archived("20250303_190144") +
          "stage: run not finished, nothing queued\r\n"
          "stage: upload done (ok=0)\r\n" +
          kDone + archived("20250303_194821") +
          "upload response: {\"accepted\":false,\"error\":\"week window closed\"}\r\n"
          "pending saved: S:\\p_20250303_194822.json\r\nstage: upload done (ok=0)\r\n" +
          kDone);
}

/// True when the rows stay as they are for a while: every question was answered.
bool isSettled(HWND list) {
  LRESULT before = -1;
  int same = 0;
  return waitUntil([&] {
    const LRESULT rows = SendMessageW(list, LVM_GETITEMCOUNT, 0, 0);
    same = rows == before ? same + 1 : 0;
    before = rows;
    return same > 100;
  });
}

}  // namespace

int main(int count, char** arguments) {
  stage::Stage machine("kov");
  stage::RaceServer server;
  machine.putUpStandardMachine(server.url());
  machine.writeLibraryFolders(std::vector<fs::path>{});
  putDownRuns(machine);
  const std::string language = count > 1 ? arguments[1] : "zh";
  stage::LauncherRun run(machine.installCheck(), "--language " + language, {});
  HWND window = nullptr;
  const auto isShown = [&window] {
    window = FindWindowW(L"KovRaceCheck", nullptr);
    return window != nullptr && IsWindowVisible(window);
  };
  if (!waitUntil(isShown) || !isSettled(GetDlgItem(window, kFindingsId))) return 1;
  int page = kFirstPageId;
  for (const char* name : {"before", "runs", "help"}) {
    SendMessageW(window, WM_COMMAND, static_cast<WPARAM>(page++), 0);
    UpdateWindow(window);
    std::printf("%s\n", name);
    std::fflush(stdout);
    if (std::getchar() == EOF) return 1;
  }
  return 0;
}
